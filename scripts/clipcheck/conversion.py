"""Runs the program on a clip as a user would, with a home of its own, and measures the run."""
import json
import os
import resource
import signal
import subprocess
import threading
import time
from dataclasses import dataclass


@dataclass
class Conversion:
    events: list
    errors: str
    status: int = 0
    seconds: float = 0
    megabytes: int = 0   # the most memory of any one of its processes
    hung: bool = False

    def event(self, *names):
        """The last event of these names."""
        found = [event for event in self.events if event.get("event") in names]
        return found[-1] if found else {}


_running = set()
_stopped = threading.Event()


def stop_all():
    """Ends what runs; the program ends its own tools."""
    _stopped.set()
    for process in list(_running):
        process.terminate()


def environment(home, ffmpeg, more):
    clean = {key: value for key, value in os.environ.items() if not key.startswith("XDG_")}
    return {**clean, "HOME": home, "LC_ALL": "C.UTF-8",
            **({"TESSARIN_FFMPEG": ffmpeg} if ffmpeg else {}), **(more or {})}


def run_program(arguments, home, limit, memory, ffmpeg=None, more=None):
    """`memory` in megabytes is what one process may ask for, so that a fault ends only itself;
    0: any. `more` is what the program's environment has besides."""
    def before():
        if memory:
            resource.setrlimit(resource.RLIMIT_AS, (memory << 20, memory << 20))
    if _stopped.is_set():
        raise InterruptedError
    begin = time.monotonic()
    errors_path = os.path.join(home, "errors")
    with open(errors_path, "wb") as errors:
        # pylint: disable=consider-using-with
        process = subprocess.Popen(arguments, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                   stderr=errors, env=environment(home, ffmpeg, more),
                                   preexec_fn=before, start_new_session=True)
    _running.add(process)
    late = threading.Event()

    def stop():
        late.set()
        os.killpg(process.pid, signal.SIGKILL)
    timer = threading.Timer(limit, stop)
    timer.start()
    output = process.stdout.read()
    process.stdout.close()
    _, status, usage = os.wait4(process.pid, 0)
    timer.cancel()
    _running.discard(process)
    process.returncode = os.waitstatus_to_exitcode(status)
    events = []
    for line in output.decode("utf-8", "replace").splitlines():
        try:
            events.append(json.loads(line))
        except ValueError:
            events.append({"event": "nonsense", "text": line})
    with open(errors_path, encoding="utf-8", errors="replace") as errors:
        return Conversion(events, errors.read().strip(), process.returncode,
                          time.monotonic() - begin, usage.ru_maxrss // 1024, late.is_set())


def convert(program, clip, choices, folder, limit, memory, ffmpeg=None):
    told = run_program([program, "analyse", "--json", *choices, "--", clip], folder, limit, memory,
                       ffmpeg)
    made = run_program([program, "--json", *choices, "--destination",
                        os.path.join(folder, "movies"), "--", clip], folder, limit, memory, ffmpeg)
    made.megabytes = max(made.megabytes, told.megabytes)
    made.hung = made.hung or told.hung
    return told, made
