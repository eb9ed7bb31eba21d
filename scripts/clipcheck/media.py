"""What is in a clip or a movie, found by decoding it with the system's ffmpeg and ffprobe."""
import functools
import json
import os
import re
import subprocess
from dataclasses import dataclass, field
from fractions import Fraction

import numpy as np

# Every picture is kept as its two fields, each this small, in yuv444p.
WIDTH, HEIGHT = 64, 36
SOUND_RATE = 16000

# Streams that begin late are streams, too.
LOOK_FAR = ["-probesize", "200M", "-analyzeduration", "100M"]

PICTURE_LINE = re.compile(
    r"^\[Parsed_showinfo_\d+ @ 0x[0-9a-f]+\] n: *\d+ pts: *\S+ pts_time:(\S+) .* i:(\S)", re.M)
SOUND_LINE = re.compile(
    r"^\[Parsed_ashowinfo_\d+ @ 0x[0-9a-f]+\] n:\d+ pts:\S+ pts_time:(\S+) .*nb_samples:(\d+)",
    re.M)


# Of the numbers that a movie's index has for primaries, transfer and matrix.
COLOUR_CODES = ({1: "bt709", 5: "bt470bg", 6: "smpte170m", 9: "bt2020"},
                {1: "bt709", 6: "smpte170m", 14: "bt2020-10", 16: "smpte2084", 18: "arib-std-b67"},
                {1: "bt709", 5: "bt470bg", 6: "smpte170m", 9: "bt2020nc"})


class Unreadable(Exception):
    """ffprobe or ffmpeg can do nothing with the file."""


@dataclass
class Pictures:
    times: np.ndarray  # seconds, on the file's own time line
    flags: list        # what each picture says of itself: P, T (top field first) or B
    planes: np.ndarray  # [picture, plane, line, column], top field left and bottom field right
    lines: int         # of a picture as it was decoded

    def __len__(self):
        return len(self.times)

    @property
    def step(self):
        """The usual time between two pictures."""
        return float(np.median(np.diff(self.times))) if len(self) > 1 else 0.0

    @property
    def regular(self):
        """Whether the pictures follow each other without holes, as far as the times tell."""
        steps = np.diff(self.times)
        return not len(steps) or bool(np.all(np.abs(steps - self.step) < 0.6 * self.step))


@dataclass
class Sound:
    samples: np.ndarray = field(default_factory=lambda: np.zeros(0, np.float32))
    start: float = 0.0   # the time of the first sample
    decoded: int = 0     # samples a channel that came out, at the stream's own rate
    rate: int = 0

    @property
    def end(self):
        return self.start + len(self.samples) / SOUND_RATE


@dataclass
class Media:
    path: str
    format: dict
    video: dict
    sounds: list
    pictures: Pictures = None
    sound: Sound = None

    @property
    def width(self):
        return int(self.video["width"])

    @property
    def height(self):
        return int(self.video["height"])

    @property
    def quarter_turns(self):
        for data in self.video.get("side_data_list", []):
            if "rotation" in data:
                return round(float(data["rotation"]) / 90) % 4
        return 0

    @property
    def shape(self):
        """Width by height of the picture as it is shown."""
        shape = self.width / self.height * float(ratio(self.video, "sample_aspect_ratio") or 1)
        return 1 / shape if self.quarter_turns % 2 else shape

    def tag(self, name):
        value = self.video.get(name, "unknown")
        if value in ("unknown", "reserved", "unspecified"):
            return self.index_colours.get(name)
        return value

    @functools.cached_property
    def index_colours(self):
        """What the index of a QuickTime movie says: decoders may go by pictures that say nothing,
        and ffprobe with them."""
        if "mov" not in self.format.get("format_name", ""):
            return {}
        with open(self.path, "rb") as file:
            found = re.search(rb"colrncl[cx](.{6})", file.read(), re.DOTALL)
        if not found:
            return {}
        codes = [int.from_bytes(found.group(1)[place:place + 2], "big") for place in (0, 2, 4)]
        names = zip(("color_primaries", "color_transfer", "color_space"), COLOUR_CODES, codes)
        return {name: table[code] for name, table, code in names if code in table}


def ratio(stream, key):
    """A ratio that ffprobe tells; None for an unknown one."""
    parts = re.split("[:/]", stream.get(key, ""))
    if len(parts) != 2 or not all(part.isdigit() and int(part) for part in parts):
        return None
    return Fraction(int(parts[0]), int(parts[1]))


def run(command, limit, **more):
    """Runs a command that is killed at a time limit; its standard error as text."""
    try:
        done = subprocess.run(command, stdin=subprocess.DEVNULL, stderr=subprocess.PIPE,
                              timeout=limit, check=False, **more)
    except subprocess.TimeoutExpired as late:
        raise Unreadable(f"{command[0]} took longer than {limit:.0f} s") from late
    return done, done.stderr.decode("utf-8", "replace")


def probe(path, limit=120):
    """The description of the file, with the video stream that ffmpeg would choose."""
    done, errors = run(["ffprobe", "-v", "error", *LOOK_FAR, "-show_format", "-show_streams",
                        "-of", "json", "file:" + path], limit, stdout=subprocess.PIPE)
    try:
        report = json.loads(done.stdout)
    except ValueError:
        report = {}
    streams = report.get("streams", [])
    videos = [stream for stream in streams
              if stream.get("codec_type") == "video" and stream.get("width")
              and not stream.get("disposition", {}).get("attached_pic")]
    if not videos:
        raise Unreadable("no pictures: " + (errors.strip().splitlines() or ["?"])[-1])
    sounds = [stream for stream in streams if stream.get("codec_type") == "audio"]
    # ffmpeg prefers the default stream, then the one with the most channels.
    sounds.sort(key=lambda stream: (-stream.get("disposition", {}).get("default", 0),
                                    -int(stream.get("channels", 0))))
    video = max(videos, key=lambda stream: stream["width"] * stream["height"])
    return Media(path, report.get("format", {}), video, sounds)


def decoding(media, stream, looks_far):
    return ["ffmpeg", "-nostdin", "-hide_banner", "-v", "info", "-nostats", "-copyts",
            *(LOOK_FAR if looks_far else []), "-i", "file:" + media.path,
            "-map", f"0:{stream['index']}"]


def decode_pictures(media, folder, crop=None, limit=600, looks_far=False):
    """All pictures of the stream. `crop` is a filter that leaves the part that is compared."""
    half = f"scale={WIDTH}:{HEIGHT}:flags=area:in_range=tv:out_range=tv,format=yuv444p"
    chain = (f"showinfo=checksum=0,{crop + ',' if crop else ''}split[a][b];"
             f"[a]field=top,{half}[t];[b]field=bottom,{half}[u];[t][u]hstack")
    raw = os.path.join(folder, "pictures")
    with open(raw, "wb") as output:
        _, report = run([*decoding(media, media.video, looks_far), "-vf", chain, "-fps_mode",
                         "passthrough", "-f", "rawvideo", "pipe:1"], limit, stdout=output)
    planes = np.fromfile(raw, np.uint8)
    os.remove(raw)
    size = 3 * HEIGHT * 2 * WIDTH
    count = len(planes) // size
    planes = planes[:count * size].reshape(count, 3, HEIGHT, 2 * WIDTH)
    lines = PICTURE_LINE.findall(report)[:count]
    if count == 0 or len(lines) < count:
        raise Unreadable(f"{count} pictures decoded, {len(lines)} told of")
    times = np.array([float(line[0]) if line[0] != "NOPTS" else np.nan for line in lines])
    media.pictures = Pictures(complete(times), [line[1] for line in lines], planes, media.height)


def can_be_in_mov(media, folder, limit=60):
    done, _ = run(["ffmpeg", "-nostdin", "-v", "error", "-y", "-i", "file:" + media.path, "-map",
                   f"0:{media.video['index']}", "-c", "copy", "-frames:v", "1", "-f", "mov",
                   os.path.join(folder, "copy")], limit)
    return done.returncode == 0


def complete(times):
    """Pictures without a time follow the one before."""
    known = times[~np.isnan(times)]
    step = float(np.median(np.diff(known))) if len(known) > 1 else 0.04
    for index in np.flatnonzero(np.isnan(times)):
        times[index] = times[index - 1] + step if index else 0.0
    return times


def decode_sound(media, folder, limit=300, looks_far=False):
    """The sound track that a conversion takes: the first in ffmpeg's order that has samples."""
    media.sound = Sound()
    for stream in media.sounds:
        raw = os.path.join(folder, "sound")
        rate = int(stream.get("sample_rate") or 0)
        if rate <= 0:
            continue
        with open(raw, "wb") as output:
            _, report = run([*decoding(media, stream, looks_far), "-af", "ashowinfo", "-ac", "2",
                             "-c:a", "pcm_s16le", "-f", "s16le", "pipe:1"], limit, stdout=output)
        samples = np.fromfile(raw, np.int16)
        os.remove(raw)
        frames = [(float(time), int(count)) for time, count in SOUND_LINE.findall(report)
                  if time not in ("NOPTS", "nan")]
        if len(samples) and frames:
            media.sound = placed(samples.reshape(-1, 2).mean(axis=1, dtype=np.float32), frames,
                                 rate)
            return


def placed(samples, frames, rate):
    """The sound on its time line: gaps are silent, what would overlap is left out."""
    start = frames[0][0]
    total = max(time + count / rate for time, count in frames) - start
    line = np.zeros(int(total * rate) + 1, np.float32)
    taken = 0
    position = 0
    for time, count in frames:
        due = round((time - start) * rate)
        if abs(due - position) > rate // 50:  # less is the rounding of time stamps
            position = max(0, due)
        part = samples[taken:taken + count][:max(0, len(line) - position)]
        line[position:position + len(part)] = part
        position += count
        taken += count
    factor = rate / SOUND_RATE
    length = int(len(line) / factor)
    # Averages instead of single samples: what is too high for the lower rate shall not come back.
    sums = np.concatenate([[0.0], np.cumsum(line, dtype=np.float64)])
    edges = np.clip(np.arange(length + 1) * factor, 0, len(line))
    values = np.interp(edges, np.arange(len(sums)), sums)
    return Sound((np.diff(values) / factor).astype(np.float32), start, len(samples), rate)
