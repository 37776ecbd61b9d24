"""What is played in both hosts. The controls are shown just before the press that counts."""

SESSIONS = {
    "movement parameters": {
        "map": {"layers": [{"path": "fixes.shp"}]},
        "steps": [
            {"click": "clsMoveParamsSimple"},
            {"set": "cmbPL", "to": "fixes"},
            {"set": "cmbPathID", "to": "ANIMAL"},
            {"show": "controls"},
            {"press": "btnOK"},
        ],
    },
    "XY fields": {
        "map": {"layers": [{"path": "fixes.shp"}]},
        "steps": [
            {"click": "clsXYAdd"},
            {"set": "cmbL", "to": "fixes"},
            {"set": "txtXFldName", "to": "UTM_X"},
            {"set": "txtYFldName", "to": "UTM_Y"},
            {"show": "controls"},
            {"press": "btnOK"},
        ],
    },
    "areas": {
        "map": {"layers": [{"path": "squares.shp"}]},
        "steps": [
            {"click": "clsAddArea"},
            {"set": "cmbPFL", "to": "squares"},
            {"show": "controls"},
            {"press": "btnOK"},
        ],
    },
}
