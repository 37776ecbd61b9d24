"""Runs inside QGIS: the plugin is switched off and on, projects come and go, QGIS is left. ORLINTHS_LIFE names what is tried."""

import os
import shutil

from hands import PREFIX, actions, canvas, choose, click, is_ours, leave, need, project, run, say, settle, type_into
from hands import window, with_dialog
from qgis.core import QgsFeature, QgsGeometry, QgsLocator, QgsLocatorContext, QgsPointXY, QgsVectorFileWriter, QgsVectorLayer
from qgis.gui import QgsGui
from qgis.PyQt import sip
from qgis.PyQt.QtCore import QCoreApplication, QEvent, QLocale, QObject, QPoint, Qt, QTimer
from qgis.PyQt.QtGui import QKeySequence, QMouseEvent
from qgis.PyQt.QtWidgets import QApplication, QComboBox, QDockWidget, QListView, QMenu, QToolBar
from qgis.utils import iface

DATA = os.environ["ORLINTHS_DATA"]
FIXES, FIXES_OF_A_PATH = 60000, 100


def traces():
    """What of the plugin can be seen in QGIS."""
    found = ["action " + name for name in actions()]
    found += ["menu " + m.objectName() for m in window.findChildren(QMenu) if m.objectName().startswith(PREFIX)]
    found += ["toolbar " + t.objectName() for t in window.findChildren(QToolBar) if "rlinth" in t.windowTitle()]
    found += ["dock " + d.objectName() for d in window.findChildren(QDockWidget) if "rlinth" in d.objectName()]
    found += ["dialog " + d.objectName() for d in QApplication.topLevelWidgets() if d.objectName().startswith("frm")]
    found += ["shortcut " + a.objectName() for a in QgsGui.shortcutsManager().listActions() if is_ours(a.objectName())]
    found += ["locator " + f.objectName() for f in window.findChildren(QObject) if f.objectName() == "OrlinthsLocator"]
    return found


def switch(on):
    """In the Plugin Manager, as a user does."""

    def use():
        manager = QApplication.activeModalWidget()
        plugins = manager.findChild(QListView, "vwPlugins").model()
        rows = [plugins.index(row, 0) for row in range(plugins.rowCount())]
        for row in [row for row in rows if "Orlinth" in str(row.data())]:
            plugins.setData(row, Qt.Checked if on else Qt.Unchecked, Qt.CheckStateRole)
        manager.close()

    QTimer.singleShot(0, use)
    iface.pluginManagerInterface().showPluginManager(0)
    settle()
    if on:
        need(len(actions()) == 56, f"{len(actions())} commands after switching on")
        need("locator OrlinthsLocator" in traces(), f"not in the locator: {traces()}")
    else:
        need(not traces(), f"left over: {traces()}")


def layers_offered():
    offered = []

    def look(dialog):
        box = dialog.findChild(QComboBox, "cmbL")
        offered.extend(box.itemText(i) for i in range(box.count()))

    with_dialog("clsXYAdd", look)
    return offered


def add(file, name):
    layer = QgsVectorLayer(os.path.join(DATA, file), name, "ogr")
    project.addMapLayer(layer)
    return layer


def mouse_on_map():
    def close():
        """What a click opens."""
        dialog = QApplication.activeModalWidget()
        if dialog is not None:
            say("a click opens " + dialog.objectName())
            dialog.close()

    mouse_on_map.timer = QTimer()
    mouse_on_map.timer.timeout.connect(close)
    mouse_on_map.timer.start(5)
    for kind in (QEvent.MouseButtonPress, QEvent.MouseMove, QEvent.MouseButtonRelease):
        event = QMouseEvent(kind, QPoint(60, 60), Qt.LeftButton, Qt.LeftButton, Qt.NoModifier)
        QApplication.sendEvent(canvas.viewport(), event)
    settle()
    mouse_on_map.timer.stop()


# ---- What is tried


def switched_off_and_on():
    add("nests.shp", "nests")
    need(layers_offered() == ["nests"], "layers before")
    before = sorted(traces())
    for _ in range(3):
        switch(False)
        mouse_on_map()
        switch(True)
        need(sorted(traces()) == before, f"not the same as before: {set(traces()) ^ set(before)}")
        need(layers_offered() == ["nests"], "layers after")


def in_the_language_of_its_user():
    """The commands keep their words, and are found by them, whatever language and direction QGIS has."""
    locale = os.environ.get("ORLINTHS_TEST_LOCALE", "")
    need(locale == "" or QLocale().name() == locale.split(".")[0], f"{QLocale().name()} for {locale}")
    need(locale == "" or QCoreApplication.translate("QgisApp", "Ready") != "Ready", "QGIS speaks English")
    menus = window.menuBar()
    for title in ("OrlinthsTools", "Kernel Tools"):
        found = [action.menu() for action in menus.actions() if action.text().strip("\u200e").replace("&", "") == title]
        need(len(found) == 1, f"{title} among {[action.text() for action in menus.actions()]}")
        menus = found[0]
    need(actions()["clsKernel"] in menus.actions(), "not in its menu")
    locator, results = sip.cast(window.findChild(QObject, "OrlinthsLocator").parent(), QgsLocator), []
    locator.foundResult.connect(results.append)
    locator.fetchResults("orl fixed kernel", QgsLocatorContext())
    for _ in range(2000):
        if not locator.isRunning() and results:
            break
        settle()
    locator.foundResult.disconnect(results.append)
    names = [result.displayString for result in results]
    need("Fixed Kernel Density Estimator" in names, f"found {names}")


def shortcuts_stay():
    key = QKeySequence("Ctrl+Alt+Shift+F9")
    manager = QgsGui.shortcutsManager()
    ours = [a for a in manager.listActions() if is_ours(a.objectName())]
    need(len(ours) == 56, f"{len(ours)} commands can have shortcuts")
    need(manager.setKeySequence(actions()["clsXYAdd"], key.toString()), "no shortcut")
    switch(False)
    switch(True)
    need(actions()["clsXYAdd"].shortcut() == key, "the shortcut is lost")


def digitiser_in_hand():
    actions()["clsDigitise"].trigger()
    need(canvas.mapTool() is not None, "no tool in hand")
    mouse_on_map()
    switch(False)
    need(canvas.mapTool() is not None, "nothing in hand after switching off")
    mouse_on_map()
    switch(True)
    actions()["clsDigitise"].trigger()
    need(actions()["clsDigitise"].isChecked(), "the button does not show what is in hand")
    mouse_on_map()


def history_shown():
    window.findChild(QDockWidget, "OrlinthsHistory").show()
    settle()
    switch(False)
    switch(True)
    need(len([d for d in window.findChildren(QDockWidget) if d.objectName() == "OrlinthsHistory"]) == 1, "docks")


def projects_come_and_go():
    add("nests.shp", "nests")
    need(layers_offered() == ["nests"], "the first project")
    iface.newProject(False)
    need(layers_offered() == [], "an empty project")
    switch(False)
    iface.newProject(False)
    add("collars.shp", "collars")
    switch(True)
    need(layers_offered() == ["collars"], "a project made meanwhile")
    path = os.path.join(DATA, "kept.qgs")
    project.write(path)
    iface.newProject(False)
    iface.addProject(path)
    need(layers_offered() == ["collars"], "a project from a file")


def a_layer_goes_under_a_dialog():
    layer = add("nests.shp", "nests")

    def use(dialog):
        choose(dialog, "cmbL", "nests")
        project.removeMapLayer(layer.id())
        settle()
        add_xy(dialog)

    with_dialog("clsXYAdd", use)
    need(layers_offered() == [], "gone")


def left_with_a_dialog_open():
    add("nests.shp", "nests")
    QTimer.singleShot(200, leave)
    actions()["clsXYAdd"].trigger()  # until QGIS is left
    need(not [d for d in QApplication.topLevelWidgets() if d.objectName() == "frmAddXY" and d.isVisible()], "open")


def add_xy(dialog):
    choose(dialog, "cmbL", "nests")
    type_into(dialog, "txtXFldName", "AT_X")
    type_into(dialog, "txtYFldName", "AT_Y")
    click(dialog, "btnOK")


def a_run():
    layer = add("nests.shp", "nests")
    with_dialog("clsXYAdd", add_xy)
    need(layer.fields().lookupField("AT_X") >= 0, "the new field is not seen")


def a_run_of_its_own():
    """On data of its own, at the same time as another QGIS."""
    global DATA
    copy = os.environ["COPY"]
    open(DATA + ".started" + copy, "w").close()
    while not os.path.exists(DATA + ".started" + str(1 - int(copy))):
        settle()
    shutil.copytree(DATA, DATA + copy)
    DATA += copy
    a_run()


def left_at_work():
    """QGIS is closed while a run waits in a message."""
    add("nests.shp", "nests")
    with_dialog("clsXYAdd", add_xy, lambda box: leave())


def many_fixes(kind):
    """Locations of many animals, so many that a run on them goes on for a while."""
    made = QgsVectorLayer("Point?crs=EPSG:32612&field=PATH:integer", "many", "memory")
    rows = []
    for i in range(FIXES):
        row = QgsFeature(made.fields())
        row.setAttributes([i // FIXES_OF_A_PATH])
        row.setGeometry(QgsGeometry.fromPointXY(QgsPointXY(400000 + i % 100, 4600000 + (i * i) % 97)))
        rows.append(row)
    need(made.dataProvider().addFeatures(rows)[0], "rows")
    if kind == "file":
        options = QgsVectorFileWriter.SaveVectorOptions()
        options.driverName = "ESRI Shapefile"
        QgsVectorFileWriter.writeAsVectorFormatV3(made, os.path.join(DATA, "many.shp"), project.transformContext(), options)
        return add("many.shp", "many")
    project.addMapLayer(made)
    return made


def amid_a_run(kind, disturb):
    """Does that while a tool goes over the rows. Gives the layer, or nothing once it is gone."""
    layer = many_fixes(kind)
    fields = [field.name() for field in layer.fields()]
    disturbed = []

    def once():
        if not disturbed and QApplication.overrideCursor() is not None:
            disturbed.append(True)
            project.setDirty(False)
            disturb(layer)

    def use(dialog):
        choose(dialog, "cmbPL", "many")
        choose(dialog, "cmbPathID", "PATH")
        at_work = QTimer()
        at_work.timeout.connect(once)
        at_work.start(0)
        click(dialog, "btnOK")
        at_work.stop()

    with_dialog("clsMoveParamsSimple", use)
    need(disturbed, "over before it could be disturbed")
    if sip.isdeleted(layer):
        return None
    need(layer.featureCount() == FIXES, "rows")
    need([field.name() for field in layer.fields()][: len(fields)] == fields, "columns")
    return layer


def left_by_its_menu_amid_a_run():
    amid_a_run("file", lambda layer: iface.actionExit().trigger())


def left_by_its_window_amid_a_run_on_memory():
    amid_a_run("memory", lambda layer: window.close())


def ended_amid_a_run():
    """As by a script, with the project open."""
    amid_a_run("file", lambda layer: QCoreApplication.exit(0))


def every_window_closed_amid_a_run():
    """As at the end of a user's day: the run comes first, QGIS stays."""
    layer = amid_a_run("file", lambda layer: QApplication.closeAllWindows())
    need(layer is not None, "the layer is gone")
    need(window.isVisible(), "QGIS is gone")


def a_layer_goes_amid_its_run():
    for kind in "file", "memory":
        need(amid_a_run(kind, lambda layer: project.removeMapLayer(layer.id())) is None, "still there")
        iface.newProject(False)


def left_with_the_digitiser_in_hand():
    actions()["clsDigitise"].trigger()


def left_switched_off():
    switch(False)


run([globals()[name] for name in os.environ["ORLINTHS_LIFE"].split(",")])
