"""What checkClips and tryFfmpegs share: what they take, the rows at work, an interrupt."""
import argparse
import concurrent.futures
import os
import shutil
import signal
import sys

NAME = os.path.basename(sys.argv[0])
try:
    import numpy  # noqa: F401 # pylint: disable=unused-import
except ModuleNotFoundError:
    sys.exit(f"{NAME}: there is no Python module numpy; install it with: "
             "apt-get install python3-numpy")
# pylint: disable=wrong-import-position
from conversion import stop_all

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.realpath(__file__))))
TARGETS = ("quicktime", "aic", "prores")


def wrong_use(text):
    print(f"{NAME}: {text}", file=sys.stderr)
    sys.exit(2)


def parser_with_common_options(description):
    parser = argparse.ArgumentParser(prog=NAME, description=description)
    parser.add_argument("--program", help="the tessarin to use (build/release/bin/tessarin)",
                        default=os.path.join(ROOT, "build", "release", "bin", "tessarin"))
    parser.add_argument("--target", action="append", choices=TARGETS, help="only this one")
    parser.add_argument("--keep", metavar="DIR", help="keep the movies here")
    parser.add_argument("--limit", type=float, default=0, metavar="SECONDS",
                        help="a conversion that takes longer hangs (60, and 30 for each of the "
                        "clip)")
    parser.add_argument("--memory", type=int, default=8000, metavar="MB",
                        help="what one process may ask for (8000); 0: any")
    parser.add_argument("--jobs", type=int, default=len(os.sched_getaffinity(0)), metavar="N",
                        help="rows at the same time (as many as there are processors)")
    parser.add_argument("--json", action="store_true", help="one JSON object a line")
    return parser


def parsed(parser):
    """The arguments, with the program's absolute path."""
    arguments = parser.parse_args()
    program = shutil.which(arguments.program)
    if not program:
        wrong_use(f"there is no program {arguments.program}; ./test builds it")
    arguments.program = os.path.abspath(program)
    for tool in ("ffmpeg", "ffprobe"):
        if not shutil.which(tool):
            wrong_use(f"there is no {tool}; install it with: apt-get install ffmpeg")
    if arguments.keep:
        os.makedirs(arguments.keep, exist_ok=True)
    return arguments


def clips_of(paths):
    clips = []
    for path in paths:
        if os.path.isdir(path):
            clips += sorted(os.path.join(folder, name) for folder, _, names in os.walk(path)
                            for name in names if not name.startswith("."))
        elif os.path.exists(path):
            clips.append(path)
        else:
            wrong_use(f"there is no {path}")
    if not clips:
        wrong_use("there are no clips")
    return [os.path.abspath(clip) for clip in clips]


def work(rows, jobs, done):
    """`done` is called with every row that is finished, by one thread."""
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        try:
            for row in concurrent.futures.as_completed([pool.submit(row.work) for row in rows]):
                done(row.result())
        except KeyboardInterrupt:
            pool.shutdown(wait=False, cancel_futures=True)
            stop_all()
            raise


def interrupt(_number, _frame):
    raise KeyboardInterrupt


def start(main):
    signal.signal(signal.SIGINT, interrupt)
    signal.signal(signal.SIGTERM, interrupt)
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(130)
