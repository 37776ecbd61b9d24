"""Runs inside QGIS: plays sessions with a user's hands and writes down when what happened, each beside a run of the same session by
the command line's program, so that both meet the machine in one state.

Told by the environment: BENCH_HERE, this folder; BENCH_WORK, a folder with `data` to work on, `layers` for a project of many layers,
and where `times.json` goes; BENCH_PROGRAM; BENCH_ROUNDS."""

import json
import os
import shutil
import subprocess
import sys
import time

from qgis.core import QgsProject, QgsVectorLayer
from qgis.PyQt.QtCore import QCoreApplication, QEventLoop, QItemSelectionModel, QTimer
from qgis.PyQt.QtWidgets import QAbstractButton, QAction, QApplication, QComboBox, QLineEdit, QListWidget, QMessageBox
from qgis.utils import iface

sys.path.insert(0, os.environ["BENCH_HERE"])
from alone import on_command_line  # noqa: E402
from sessions import SESSIONS  # noqa: E402

WORK = os.environ["BENCH_WORK"]


def now():
    """On the wall, on the processors of this thread, on those of all."""
    return (time.perf_counter(), time.thread_time(), time.process_time())


def touch_memory():
    """A virtual machine gets its memory page by page when it is first touched, and loses what it left alone: the first to write
    200 MB after a while waits half a second for it. What another process has just let go of is there for the next."""
    subprocess.run(["/usr/bin/env", "python3", "-c", "b'x' * (1 << 30)"], check=True)


def fresh(name):
    """A session on data of its own, whose pages are in memory."""
    folder = os.path.join(WORK, "run")
    shutil.rmtree(folder, ignore_errors=True)
    shutil.copytree(os.path.join(WORK, "data"), folder)
    path = os.path.join(folder, "session.json")
    with open(path, "w", encoding="utf-8") as file:
        json.dump(dict(SESSIONS[name], clock="2026-03-01T12:00:00"), file)
    touch_memory()
    return path


def since(start, end):
    return [round(b - a, 4) for a, b in zip(start, end)]


def wait(milliseconds):
    loop = QEventLoop()
    QTimer.singleShot(milliseconds, loop.quit)
    loop.exec_()


class Host:
    def __init__(self):
        self.canvas = iface.mapCanvas()
        self.message_seen = self.last_drawn = now()
        self.canvas.mapCanvasRefreshed.connect(self.drawn)
        self.watch = QTimer()
        self.watch.timeout.connect(self.answer)
        self.watch.start(1)

    def drawn(self):
        self.last_drawn = now()

    def answer(self):
        """Every message is answered at once, questions with yes."""
        box = QApplication.activeModalWidget()
        if isinstance(box, QMessageBox) and box.isVisible():
            self.message_seen = now()
            (box.button(QMessageBox.Yes) or box.button(QMessageBox.Ok)).click()

    def settle(self, quiet=0.4):
        """Until nothing has been drawn for a while."""
        end = time.perf_counter() + quiet
        while time.perf_counter() < end:
            wait(20)
            if self.canvas.isDrawing():
                end = time.perf_counter() + quiet

    def new_project(self, paths, part=1.0):
        """`part`: of the data's width, that the map shows."""
        project = QgsProject.instance()
        project.clear()
        layers = [QgsVectorLayer(path, os.path.basename(path)[:-4], "ogr") for path in paths]
        project.setCrs(layers[0].crs())
        for layer in reversed(layers):
            project.addMapLayer(layer)
        view = layers[0].extent()
        view.scale(part)
        self.canvas.setExtent(view)
        self.canvas.refresh()
        self.settle()

    def with_dialog(self, class_name, use):
        action = iface.mainWindow().findChild(QAction, "OrlinthsTools3." + class_name)
        failures = []

        def once_open():
            try:
                use(QApplication.activeModalWidget())
            except Exception as failure:  # an exception in a slot would leave the dialog open for ever
                failures.append(failure)
                QApplication.activeModalWidget().close()

        QTimer.singleShot(0, once_open)
        action.trigger()
        if failures:
            raise failures[0]


def set_control(dialog, name, value):
    widget = dialog.findChild(QComboBox, name) or dialog.findChild(QListWidget, name)
    widget = widget or dialog.findChild(QLineEdit, name) or dialog.findChild(QAbstractButton, name)
    if isinstance(widget, QComboBox):
        index = widget.findText(value)
        widget.setCurrentIndex(index)
        widget.activated.emit(index)
    elif isinstance(widget, QListWidget):
        for row in range(widget.count()):
            if widget.item(row).text() in value:
                index = widget.model().index(row, 0)
                widget.selectionModel().select(index, QItemSelectionModel.Select)
    elif isinstance(widget, QLineEdit):
        widget.selectAll()
        widget.insert(value)
    elif widget.isChecked() != value:
        widget.click()


def play(host, path, part):
    with open(path, encoding="utf-8") as file:
        session = json.load(file)
    folder = os.path.dirname(path)
    host.new_project([os.path.join(folder, layer["path"]) for layer in session["map"]["layers"]], part)
    steps = session["steps"]
    times = {}

    def use(dialog):
        for step in steps[1:]:
            if "show" in step:
                touch_memory()
                times["pressed"] = now()
            elif "set" in step:
                set_control(dialog, step["set"], step["to"])
            else:
                dialog.findChild(QAbstractButton, step["press"]).click()
        times["returned"] = now()
        if dialog.isVisible():
            dialog.close()

    host.with_dialog(steps[0]["click"], use)
    host.settle()
    pressed = times["pressed"]
    return {
        "message": since(pressed, host.message_seen),
        "returned": since(pressed, times["returned"]),
        "drawn": since(pressed, max(times["returned"], host.last_drawn)),
    }


def open_and_close(host, class_name):
    start = now()
    opened = []

    def use(dialog):
        opened.append(now())
        dialog.close()

    host.with_dialog(class_name, use)
    return {"opened": since(start, opened[0]), "closed": since(start, now())}


def main():
    try:
        host = Host()
        rounds = []
        for number in range(int(os.environ["BENCH_ROUNDS"])):
            rounds.append({})
            for name in SESSIONS:
                alone = on_command_line(os.environ["BENCH_PROGRAM"], fresh(name))
                # The whole map once; afterwards a part that is drawn at once.
                rounds[-1][name] = dict(play(host, fresh(name), 1 if number == 0 else 0.05), alone=alone)
        folder = os.path.join(WORK, "layers")
        host.new_project([os.path.join(folder, name) for name in sorted(os.listdir(folder)) if name.endswith(".shp")])
        times = {"rounds": rounds}
        times["dialog"] = [open_and_close(host, "clsAddArea") for _ in range(5)]
        with open(os.path.join(WORK, "times.json"), "w", encoding="utf-8") as file:
            json.dump(times, file)
    finally:
        QgsProject.instance().clear()
        leave.start(50)


leave = QTimer()  # more than once: QGIS may not be waiting for events yet
leave.timeout.connect(lambda: QCoreApplication.exit(0))
QTimer.singleShot(0, main)
