"""The same sessions on the same data in QGIS and on the command line, in turn: what a user waits for in both.

    make bench-qgis                                       a million features
    python3 bench/qgis/run.py BUILD [COUNT [ROUNDS]]      BUILD: the build folder of the preset `qgis`

Medians of all rounds, in seconds, and of CPU the least as well: how the kernel finds memory moves single runs by a fourth. CPU is what counts where others use the machine: that of the thread that does the work."""

import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

import field_data
from sessions import SESSIONS

HERE = os.path.dirname(os.path.abspath(__file__))
LAYERS = 200
SETTINGS = """[Plugins]
liborlinthstoolsplugin=true

[plugins]
searchPathsForPlugins={plugins}

[PythonPlugins]
MetaSearch=false
db_manager=false
processing=false
grassprovider=false
sagaprovider=false

[qgis]
checkVersion=false
showTips=false
"""


def processor_seconds(pid):
    with open(f"/proc/{pid}/schedstat", encoding="ascii") as file:
        return int(file.read().split()[0]) / 1e9


def on_command_line(program, session):
    """Wall and CPU from the press to the closing message."""
    moments = []
    with subprocess.Popen([program, "play", session, "--json"], stdout=subprocess.PIPE, text=True) as run:
        for line in run.stdout:
            if '"event":"controls"' in line or '"event":"message"' in line:
                moments.append((time.perf_counter(), processor_seconds(run.pid)))
    if run.returncode != 0:
        sys.exit(f"{session} ended with {run.returncode}")
    return [end - start for start, end in zip(moments[0], moments[-1])]


def in_qgis(work, sessions, view):
    times = os.path.join(work, "times.json")
    environment = dict(
        os.environ,
        PATH=os.confstr("CS_PATH"),  # QGIS takes its own Python
        QT_QPA_PLATFORM="xcb",
        BENCH_SESSIONS=os.path.join(work, "sessions.json"),
        BENCH_LAYERS=os.path.join(work, "layers"),
        BENCH_TIMES=times,
        BENCH_VIEW=str(view),
    )
    with open(environment["BENCH_SESSIONS"], "w", encoding="utf-8") as file:
        json.dump(sessions, file)
    command = ["xvfb-run", "-a", "-s", "-screen 0 1600x1200x24", "qgis", "--profiles-path", os.path.join(work, "profile")]
    command += ["--nologo", "--noversioncheck", "--code", os.path.join(HERE, "in_qgis.py")]
    with open(os.path.join(work, "qgis.log"), "w", encoding="utf-8") as log:
        subprocess.run(command, env=environment, stdout=log, stderr=log, check=False, timeout=900)
    if not os.path.exists(times):
        with open(os.path.join(work, "qgis.log"), encoding="utf-8") as log:
            sys.exit(log.read())
    with open(times, encoding="utf-8") as file:
        result = json.load(file)
    os.remove(times)
    return result


def fresh_sessions(work):
    """Name and path of every session, each with data of its own."""
    places = []
    for number, (name, session) in enumerate(SESSIONS.items()):
        folder = os.path.join(work, str(number))
        shutil.rmtree(folder, ignore_errors=True)
        shutil.copytree(os.path.join(work, "data"), folder)
        path = os.path.join(folder, "session.json")
        with open(path, "w", encoding="utf-8") as file:
            json.dump(dict(session, clock="2026-03-01T12:00:00"), file)
        places.append((name, path))
    return places


def prepare(work, build, count):
    for folder in ("data", "few", "layers", "profile/profiles/default/QGIS"):
        os.makedirs(os.path.join(work, folder))
    field_data.make(os.path.join(work, "data"), count)
    field_data.make(os.path.join(work, "few"), 100)
    for number in range(LAYERS):
        for ending in ("shp", "shx", "dbf", "prj"):
            shutil.copy(f"{work}/few/squares.{ending}", f"{work}/layers/squares{number:03d}.{ending}")
    with open(os.path.join(work, "profile/profiles/default/QGIS/QGIS3.ini"), "w", encoding="utf-8") as file:
        file.write(SETTINGS.format(plugins=os.path.abspath(os.path.join(build, "plugins"))))


def median(rounds):
    return [statistics.median(values) for values in zip(*rounds)]


def main(build, count=1_000_000, rounds=3):
    program = os.path.abspath(os.path.join(build, "apps/orlinths/orlinths"))
    with tempfile.TemporaryDirectory() as work:
        prepare(work, build, int(count))
        alone = {name: [] for name in SESSIONS}
        inside = []
        for number in range(int(rounds)):
            for name, path in fresh_sessions(work):
                alone[name].append(on_command_line(program, path))
            # The whole map once; afterwards a part that is drawn at once.
            inside.append(in_qgis(work, fresh_sessions(work), 1 if number == 0 else 0.05))
    print(f"{'':22}{'command line':>22}{'QGIS, to the message':>30}{'to the next click':>20}{'until all is drawn':>20}")
    print(f"{'':22}{'wall    CPU  least':>22}{'wall    CPU  least   ratio':>30}{'wall':>20}{'wall':>20}")
    for name in SESSIONS:
        wall, cpu = median(alone[name])
        messages = [times[name]["message"] for times in inside]
        message = median(messages)
        returned = median([times[name]["returned"] for times in inside])
        drawn = inside[0][name]["drawn"]
        print(f"{name:22}{wall:8.2f}{cpu:7.2f}{min(run[1] for run in alone[name]):7.2f}{message[0]:11.2f}{message[1]:7.2f}"
              f"{min(run[1] for run in messages):7.2f}{message[1] / cpu:7.2f}{returned[0]:18.2f}{drawn[0]:20.2f}")
    opened = median([times["opened"] for round_ in inside for times in round_["dialog"]])
    closed = median([times["closed"] for round_ in inside for times in round_["dialog"]])
    print(f"A dialog on {LAYERS} layers: opens in {opened[0]:.3f} (CPU {opened[1]:.3f}), opens and closes in {closed[0]:.3f}")


if __name__ == "__main__":
    main(*sys.argv[1:])
