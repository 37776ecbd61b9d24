"""A session played by the command line's program, timed from the press that counts to the closing message."""

import subprocess
import time


def processor_seconds(pid):
    """Of the thread that does the work."""
    with open(f"/proc/{pid}/schedstat", encoding="ascii") as file:
        return int(file.read().split()[0]) / 1e9


def on_command_line(program, session):
    """On the wall, and on the processors. The sessions show their controls just before that press."""
    moments = []
    with subprocess.Popen([program, "play", session, "--json"], stdout=subprocess.PIPE, text=True) as run:
        for line in run.stdout:
            if '"event":"controls"' in line or '"event":"message"' in line:
                moments.append((time.perf_counter(), processor_seconds(run.pid)))
    if run.returncode != 0:
        raise RuntimeError(f"{session} ended with {run.returncode}")
    return [round(end - start, 4) for start, end in zip(moments[0], moments[-1])]
