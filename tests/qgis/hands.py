"""What scripts inside QGIS share: the plugin's actions and dialogs, used as a user's hands do, and a way out.

Every line that is printed with "life: " is read by the test that starts QGIS; "life: done" is the last."""

import traceback

from qgis.core import QgsProject
from qgis.PyQt.QtCore import QCoreApplication, QEvent, QItemSelection, QItemSelectionModel, QTimer
from qgis.PyQt.QtWidgets import QAbstractButton, QAction, QApplication, QComboBox, QLineEdit, QListWidget, QMessageBox
from qgis.utils import iface

PREFIX = "OrlinthsTools3."
window, canvas, project = iface.mainWindow(), iface.mapCanvas(), QgsProject.instance()


def say(what):
    print("life:", what, flush=True)


def need(truth, what):
    if not truth:
        raise AssertionError(what)


def settle():
    QCoreApplication.sendPostedEvents(None, QEvent.DeferredDelete)
    for _ in range(5):
        QCoreApplication.processEvents()


def actions():
    return {a.objectName()[len(PREFIX) :]: a for a in window.findChildren(QAction) if is_ours(a.objectName())}


def is_ours(name):
    return name.startswith(PREFIX + "cls") and not name.endswith("MenuAction")


# ---- Widgets


def choose(dialog, name, item):
    box = dialog.findChild(QComboBox, name)
    box.setCurrentIndex(box.findText(item))
    box.activated.emit(box.currentIndex())


def type_into(dialog, name, text):
    box = dialog.findChild(QLineEdit, name)
    box.selectAll()
    box.insert(text)


def click(dialog, name):
    dialog.findChild(QAbstractButton, name).click()


def select(items, texts):
    """Of a list, these rows and no others, at once."""
    wanted = QItemSelection()
    for index in (items.model().index(row, 0) for row in range(items.count())):
        if index.data() in texts:
            wanted.select(index, index)
    items.selectionModel().select(wanted, QItemSelectionModel.ClearAndSelect)


def use(dialog, name, value):
    """Sets a control as a step of a session says."""
    widget = dialog.findChild(QComboBox, name) or dialog.findChild(QLineEdit, name)
    widget = widget or dialog.findChild(QListWidget, name) or dialog.findChild(QAbstractButton, name)
    if isinstance(widget, QComboBox):
        choose(dialog, name, value)
    elif isinstance(widget, QLineEdit):
        type_into(dialog, name, value)
    elif isinstance(widget, QListWidget):
        select(widget, value)
    elif widget.isChecked() != value:
        widget.click()


def shown(dialog, name):
    """The value of a control as a step of a session would say it."""
    widget = dialog.findChild(QComboBox, name)
    if widget is not None:
        return widget.currentText()
    widget = dialog.findChild(QLineEdit, name)
    if widget is not None:
        return widget.text()
    widget = dialog.findChild(QListWidget, name)
    if widget is not None:
        return [item.text() for item in sorted(widget.selectedItems(), key=widget.row)]
    return dialog.findChild(QAbstractButton, name).isChecked()


# ---- Windows that come


def agree(box):
    (box.button(QMessageBox.Yes) or box.button(QMessageBox.Ok)).click()


def drive(press, on_window, on_message=agree):
    """Presses what opens windows; until it is done each look at the one on top, some milliseconds apart, goes to `on_window`, and
    a message to `on_message`. What goes wrong there is told here, once every window is closed."""
    failures, watching = [], [True]

    def look():
        top = QApplication.activeModalWidget()
        if top is None:
            return
        if failures:
            top.close()
            return
        try:
            if isinstance(top, QMessageBox):
                say("message " + top.text().replace("\n", " "))
                on_message(top)
            else:
                on_window(top)
        except Exception:
            failures.append(traceback.format_exc())

    def again():
        """Also while `on_window` is at work: a timer of its own for every look."""
        if not watching:
            return
        QTimer.singleShot(5, again)
        look()

    again()
    press()
    watching.clear()
    need(not failures, "".join(failures))
    settle()


def with_dialog(class_name, use, on_message=agree):
    """Clicks a command, uses its dialog once and closes it; messages are read and answered. Gives the dialogs that came."""
    seen = []

    def on_window(dialog):
        if seen:
            return
        seen.append(dialog.objectName())
        try:
            use(dialog)
        finally:
            QTimer.singleShot(0, dialog.close)

    drive(actions()[class_name].trigger, on_window, on_message)
    return seen


# ---- The script's life


def leave():
    """As QGIS is left by its menu: the project first, or QGIS 3.22 may look for layers in what it has given up."""
    if hasattr(leave, "timer"):
        return
    project.clear()
    project.setDirty(False)
    leave.timer = QTimer()
    leave.timer.timeout.connect(lambda: QCoreApplication.exit(0))
    leave.timer.start(50)


def run(trials):
    """Each in a new project, once QGIS has started; then QGIS is left."""

    def main():
        try:
            for trial in trials:
                iface.newProject(False)
                trial()
                say(trial.__name__)
            say("done")
        except BaseException:
            say(traceback.format_exc())
        finally:
            leave()

    QTimer.singleShot(0, main)
