"""Runs inside QGIS: every run that the history lists is done again, saved and copied by the panel's own buttons.

ORLINTHS_SESSIONS is where the data come from, ORLINTHS_WORK where the runs were on a copy of them; what is made goes to
ORLINTHS_RESULTS, a folder for each tool."""

import json
import os
import shutil

from hands import agree, click, drive, need, project, run, settle, shown, use, window
from qgis.core import QgsCoordinateReferenceSystem, QgsRasterLayer, QgsVectorLayer
from qgis.PyQt.QtCore import QDateTime, QLocale
from qgis.PyQt.QtWidgets import QApplication, QDialogButtonBox, QDockWidget, QFileDialog, QLineEdit, QPushButton, QTreeWidget
from qgis.utils import iface

SESSIONS, WORK, RESULTS = (os.environ["ORLINTHS_" + name] for name in ("SESSIONS", "WORK", "RESULTS"))

panel = window.findChild(QDockWidget, "OrlinthsHistory")
runs = panel.findChild(QTreeWidget, "runs")


class Run:
    """A run that the panel lists."""

    def __init__(self, item):
        self.path = path_of(item)
        self.session = json.load(open(self.path, encoding="utf-8"))
        self.class_name, self.steps = self.session["steps"][0]["click"], self.session["steps"][1:]

    def press(self, button):
        """In the panel, with this run chosen."""
        runs.setCurrentItem(next(item for item in items() if path_of(item) == self.path))
        panel.findChild(QPushButton, button).click()

    def at(self, path):
        return os.path.normpath(os.path.join(os.path.dirname(self.path), path))

    def result(self, name):
        os.makedirs(os.path.join(RESULTS, self.class_name), exist_ok=True)
        return os.path.join(RESULTS, self.class_name, name)


def write(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def stem(path):
    return os.path.splitext(os.path.basename(path))[0]


def entries_of(kept):
    """Of its layers and tables; the sessions have no groups."""
    return kept.session["map"].get("layers", []) + kept.session["map"].get("tables", [])


def path_of(item):
    """The second line of what is said about a run."""
    return item.toolTip(0).split("\n")[1]


def items():
    return [runs.topLevelItem(row) for row in range(runs.topLevelItemCount())]


def no_data():
    for name in os.listdir(WORK):
        path = os.path.join(WORK, name)
        shutil.rmtree(path) if os.path.isdir(path) else os.remove(path)


def fresh_data():
    no_data()
    shutil.copytree(SESSIONS, WORK, dirs_exist_ok=True)


def open_project_of(kept):
    """A new project with the layers of a run, as they were then."""
    iface.newProject(False)
    for entry in entries_of(kept):
        path = kept.at(entry["path"])
        name = entry.get("name", stem(path))
        if path.endswith((".tif", ".asc")):
            layer = QgsRasterLayer(path, name)
        else:
            layer = QgsVectorLayer(path, name, "ogr")
            layer.setSubsetString(entry.get("where", ""))
            layer.selectByIds(entry.get("selection", []))
        need(layer.isValid(), path)
        project.addMapLayer(layer, False)
        project.layerTreeRoot().addLayer(layer)
    project.setCrs(QgsCoordinateReferenceSystem(kept.session["map"].get("spatialReference", "")))


class Hand:
    """Waits until the dialog is filled in, then takes the steps that the user took from the main button on."""

    def __init__(self, kept):
        self.kept, self.to_come, self.looks, self.at_work = kept, None, 0, []

    def use(self, dialog):
        if dialog in self.at_work:
            return  # the window of a run that shows its progress
        if self.to_come is None:
            self.see_whether_filled(dialog)
        elif not self.to_come:
            dialog.close()
        else:
            self.take(dialog, self.to_come.pop(0))

    def see_whether_filled(self, dialog):
        """Twice the same: the first look may be in the midst of the last field."""
        steps = self.kept.steps
        main = next(b.objectName() for b in dialog.findChildren(QPushButton) if b.isDefault())
        first = next(at for at, step in enumerate(steps) if step.get("press") == main)
        wanted = {step["set"]: step["to"] for step in steps[:first] if "set" in step}
        found = {name: shown(dialog, name) for name in wanted}
        picked = [stem(self.kept.at(s["pick"])) for s in steps[:first] if "pick" in s]
        texts = [stem(box.text()) for box in dialog.findChildren(QLineEdit)]
        is_filled = found == wanted and all(name in texts for name in picked)
        need(is_filled or self.looks < 400, f"{self.kept.class_name}: {found} {texts} for {wanted} {picked}")
        if is_filled and getattr(self, "was_filled", False):
            self.to_come = steps[first:]
        self.was_filled, self.looks = is_filled, self.looks + 1

    def take(self, dialog, step):
        self.at_work.append(dialog)
        if "set" in step:
            use(dialog, step["set"], step["to"])
        else:
            click(dialog, step["press"])
        self.at_work.pop()


def panel_shown():
    panel.show()
    settle()
    runs.setCurrentItem(items()[0])
    times = [item.text(1) for item in items()]
    then = QDateTime.fromString("2026-03-01 12:00:00", "yyyy-MM-dd HH:mm:ss")
    need(set(times) == {QLocale().toString(then, QLocale.ShortFormat)}, times)
    if "ORLINTHS_PICTURES" in os.environ:
        panel.grab().save(os.path.join(os.environ["ORLINTHS_PICTURES"], "history.png"))


def every_run():
    """Again on fresh data, saved as a session, copied as a command line."""
    kept_runs = [Run(item) for item in items()]
    for kept in kept_runs:
        fresh_data()
        open_project_of(kept)
        known = {path_of(item) for item in items()}
        hand, told = Hand(kept), []

        def on_message(box):
            told.append(box.text())
            agree(box)

        drive(lambda: kept.press("again"), hand.use, on_message)
        need(hand.to_come == [], f"{kept.class_name}: {hand.to_come} not taken, told: {told}")
        new = [path_of(item) for item in items() if path_of(item) not in known]
        need(len(new) == 1, f"{kept.class_name}: kept as {new}, told: {told}")
        iface.newProject(False)  # lets go of the files
        shutil.copytree(WORK, kept.result("again"))
        write(kept.result("again.txt"), new[0])

        def save(dialog):
            need(isinstance(dialog, QFileDialog), dialog.objectName())
            box = dialog.findChild(QLineEdit, "fileNameEdit")
            need(box.text() == kept.class_name + ".json", box.text())
            box.setText(kept.result("saved"))
            dialog.findChild(QDialogButtonBox).button(QDialogButtonBox.Save).click()

        drive(lambda: kept.press("save"), save)
        kept.press("copy")
        write(kept.result("line.txt"), QApplication.clipboard().text())


def layers_are_added():
    """Where the project does not have them: Run again asks, and they come with their filters and selections."""
    for kept in [Run(item) for item in items()]:
        if len(entries_of(kept)) == 1 and list(entries_of(kept)[0]) == ["path"]:
            continue  # a single layer with neither is as good as any other
        fresh_data()
        iface.newProject(False)
        hand, told = Hand(kept), []

        def on_window(dialog):
            hand.use(dialog)
            if hand.to_come is not None:
                hand.to_come = []  # it is closed next: this time nothing is run

        drive(lambda: kept.press("again"), on_window, lambda box: (told.append(box.text()), agree(box)))
        entries = entries_of(kept)
        listing = [f"{stem(entry['path'])} ({kept.at(entry['path'])})" for entry in entries]
        need(told == ["\n".join(["The project does not have these layers of the run:", *listing, "Add them?"])], told)
        layers = [node.layer() for node in project.layerTreeRoot().findLayers()]
        need(len(layers) == len(entries), f"{kept.class_name}: {layers}")
        for entry, layer in zip(entries, layers):
            if isinstance(layer, QgsVectorLayer):
                need(layer.subsetString() == entry.get("where", ""), layer.subsetString())
                need(sorted(layer.selectedFeatureIds()) == entry.get("selection", []), layer.selectedFeatureIds())


def data_are_gone():
    """Run again tells which, opens the dialog all the same, changes nothing and keeps nothing."""
    no_data()
    iface.newProject(False)
    kept_runs = [Run(item) for item in items()]
    for kept in kept_runs:
        told = []
        drive(lambda: kept.press("again"), lambda dialog: dialog.close(), lambda box: (told.append(box.text()), agree(box)))
        listing = [f"{stem(entry['path'])} ({kept.at(entry['path'])})" for entry in entries_of(kept)]
        filled = "The dialog is filled in as far as it goes without them."
        need(told[0] == "\n".join(["Data of this run are no longer there:", *listing, filled]), told)
        need(len(told) > 1, told)  # the tool itself says that it has nothing to work with
        need(not [text for text in told[1:] if "as it was then" in text], told)
    need([path_of(item) for item in items()] == [kept.path for kept in kept_runs], "the history has changed")
    need(os.listdir(WORK) == [] and not project.mapLayers(), "something has come")


run([globals()[name] for name in os.environ["ORLINTHS_LIFE"].split(",")])
