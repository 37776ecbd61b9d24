"""The same sessions on the same data in QGIS and on the command line, in turn: what a user waits for in both.

    make bench-qgis                                       a million features
    python3 bench/qgis/run.py BUILD [COUNT [ROUNDS]]      BUILD: the build folder of the preset `qgis`

Seconds from the press to the closing message: medians of all rounds, and of CPU the least as well. CPU is what counts where others
use the machine: that of the thread that does the work. The ratio is the median of the rounds' own, each of two runs of CPU that follow
each other."""

import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile

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


def in_qgis(work, program, rounds):
    environment = dict(
        os.environ,
        PATH=os.confstr("CS_PATH"),  # QGIS takes its own Python
        QT_QPA_PLATFORM="xcb",
        BENCH_HERE=HERE,
        BENCH_WORK=work,
        BENCH_PROGRAM=program,
        BENCH_ROUNDS=str(rounds),
    )
    command = ["xvfb-run", "-a", "-s", "-screen 0 1600x1200x24", "qgis", "--profiles-path", os.path.join(work, "profile")]
    command += ["--nologo", "--noversioncheck", "--code", os.path.join(HERE, "in_qgis.py")]
    with open(os.path.join(work, "qgis.log"), "w", encoding="utf-8") as log:
        subprocess.run(command, env=environment, stdout=log, stderr=log, check=False, timeout=3600)
    times = os.path.join(work, "times.json")
    if not os.path.exists(times):
        with open(os.path.join(work, "qgis.log"), encoding="utf-8") as log:
            sys.exit(log.read())
    with open(times, encoding="utf-8") as file:
        return json.load(file)


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


def main(build, count=1_000_000, rounds=7):
    program = os.path.abspath(os.path.join(build, "apps/orlinths/orlinths"))
    with tempfile.TemporaryDirectory() as work:
        prepare(work, build, int(count))
        times = in_qgis(work, program, int(rounds))
    print(f"{'':22}{'command line':>22}{'QGIS, to the message':>30}{'to the next click':>20}{'until all is drawn':>20}")
    print(f"{'':22}{'wall    CPU  least':>22}{'wall    CPU  least   ratio':>30}{'wall':>20}{'wall':>20}")
    for name in SESSIONS:
        runs = [run[name] for run in times["rounds"]]
        alone, message = ([run[where] for run in runs] for where in ("alone", "message"))
        ratio = statistics.median(run["message"][1] / run["alone"][1] for run in runs)
        text = f"{name:22}"
        for times_of in (alone, message):
            wall, cpu = median(times_of)[:2]
            text += f"{wall:8.2f}{cpu:7.2f}{min(run[1] for run in times_of):7.2f}"
        print(f"{text}{ratio:8.2f}{median([run['returned'] for run in runs])[0]:18.2f}{runs[0]['drawn'][0]:20.2f}")
    opened, closed = (median([dialog[when] for dialog in times["dialog"]]) for when in ("opened", "closed"))
    print(f"A dialog on {LAYERS} layers: opens in {opened[0]:.3f} (CPU {opened[1]:.3f}), opens and closes in {closed[0]:.3f}")


if __name__ == "__main__":
    main(*sys.argv[1:])
