"""One line of the table: a clip, a target, and what is wrong with the movie."""
import os
import shutil
import tempfile
import threading
import traceback

from checks import Check
from conversion import convert
from media import (LOOK_FAR, Unreadable, can_be_in_mov, decode_pictures, decode_sound, probe,
                   run)


# What a movie of copied pictures can be like.
COPIED_SIZES = ((960, 540), (1280, 720), (1440, 1080), (1920, 1080))


def is_told(reason):
    """Whether the user is told what is the matter, and not what ffmpeg happened to print last."""
    return bool(reason) and not reason.startswith(("ffmpeg says", "why_"))


def is_still(source):
    """Whether the file holds one picture and is none of a movie, whatever its name says."""
    return source.format.get("format_name", "").endswith(("_pipe", "image2"))


def is_cut(source):
    """Whether the file's own index has clearly more pictures than can be decoded."""
    promised = int(source.video.get("nb_frames", 0))
    return len(source.pictures) < 0.9 * promised


def is_copyable(source, folder):
    """Whether the pictures can be copied: whole ones of such a size, of a codec that .mov holds."""
    return (source.width, source.height) in COPIED_SIZES and \
        set(source.pictures.flags) == {"P"} and can_be_in_mov(source, folder)


def decodes(ffmpeg, path):
    """Whether this ffmpeg decodes the first picture of the clip."""
    done, _ = run([ffmpeg, "-v", "error", *LOOK_FAR, "-i", "file:" + path, "-map", "0:v",
                   "-frames:v", "1", "-f", "null", "-"], 60)
    return done.returncode == 0


class Clip:
    """A source. It is decoded once, by the first row that needs it."""

    def __init__(self, path, folder):
        self.path = path
        self.folder = folder
        self._lock = threading.Lock()
        self._media = None
        self._trouble = None
        self.users = 0

    def measured(self):
        """The source's pictures and sound; Unreadable when ffmpeg decodes no pictures of it."""
        with self._lock:
            if self._media is None and self._trouble is None:
                place = tempfile.mkdtemp(dir=self.folder)
                try:
                    media = probe(self.path)
                    decode_pictures(media, place, looks_far=True)
                    decode_sound(media, place, looks_far=True)
                    self._media = media
                except Unreadable as trouble:
                    self._trouble = str(trouble)
                finally:
                    shutil.rmtree(place)
            if self._trouble:
                raise Unreadable(self._trouble)
            return self._media

    def release(self):
        with self._lock:
            self.users -= 1
            if self.users == 0:
                self._media = None


class Row:
    """`size` as the program's option has it; `ffmpeg`: (path, version) of the one to convert with,
    if not the installed one."""

    def __init__(self, clip, target, speed, options, size="auto", ffmpeg=None):
        self.clip = clip
        clip.users += 1
        self.target = target
        self.speed = speed
        self.size = size
        self.ffmpeg = ffmpeg
        self.options = options
        self.movie = None
        self.faults = []
        self.notes = []
        self.refused = ""
        self.unable = ""
        self.damaged = False
        self.seconds = 0.0
        self.megabytes = 0

    @property
    def name(self):
        return self.target + (" slow" if self.speed == "slow" else "") + \
            (f" {self.size}" if self.size != "auto" else "")

    def work(self):
        folder = tempfile.mkdtemp(dir=self.clip.folder)
        try:
            self._convert(folder)
        except Unreadable as trouble:
            self.faults.append(f"the movie cannot be read: {trouble}")
        except Exception:  # pylint: disable=broad-except # the other rows go on
            self.faults.append("the check failed: " + traceback.format_exc(limit=-3))
        finally:
            shutil.rmtree(folder, ignore_errors=True)
            self.clip.release()
        return self

    def _convert(self, folder):
        try:
            source = self.clip.measured()
        except Unreadable:
            source = None
        length = float(source.format.get("duration", 10)) if source else 10
        limit = self.options.limit or 60 + 30 * length
        choices = ["--format", self.target, "--speed", self.speed, "--size", self.size]
        told, made = convert(self.options.program, self.clip.path, choices, folder, limit,
                             self.options.memory, self.ffmpeg and self.ffmpeg[0])
        self.seconds, self.megabytes = made.seconds, made.megabytes
        if made.hung or told.hung:
            self.faults.append(f"hangs: ended after {limit:.0f} s")
            return
        self._keep(folder)
        analysed = told.event("analysed")
        end = made.event("converted", "failed", "problem", "stopped")
        if end.get("event") == "converted":
            self._check_movie(source, analysed, end, made, folder)
        else:
            self._check_refusal(source, analysed, end, made, folder)

    def _check_movie(self, source, analysed, end, made, folder):
        is_damaged = end.get("damagedPictures") or end.get("damagedSound")
        if made.status != (1 if is_damaged else 0):
            self.faults.append(f"converted, but the exit status is {made.status}")
        if source is None:
            self.faults.append("converted, though ffmpeg decodes no pictures of the clip")
            return
        intention = {"target": self.target, "speed": analysed.get("speed", "full"),
                     "size": analysed.get("size", "")}
        if self.speed == "slow" and intention["speed"] != "slow":
            self.refused = "no slow motion"
            return
        self.damaged = bool(is_damaged)
        check = Check(source, end["output"], intention, folder, is_damaged and self.ffmpeg)
        self.faults += check.faults()
        self.notes += check.notes
        self.movie = check.movie

    def _check_refusal(self, source, analysed, end, made, folder):
        reason = end.get("reason", made.errors or "?")
        if made.status not in (0, 1):
            self.faults.append(f"exit status {made.status}: {reason}")
        elif made.status == 0:
            self.faults.append("the exit status is 0, but nothing was converted")
        elif self.ffmpeg and ("newer ffmpeg" in reason or "ffmpeg is too old" in reason
                              or not decodes(self.ffmpeg[0], self.clip.path)):
            self.unable = reason
        elif source is None or is_still(source):
            self.refused = reason
        elif is_told(reason) and (is_cut(source) or (self.target == "quicktime" and analysed
                                                     and not is_copyable(source, folder))):
            self.refused = reason
        else:
            self.faults.append(f"refused ({len(source.pictures)} pictures can be decoded): "
                               + reason)

    def _keep(self, folder):
        if not self.options.keep:
            return
        place = os.path.join(folder, "movies")
        for parent, _, names in os.walk(place):
            for name in names:
                stem, ending = os.path.splitext(os.path.basename(self.clip.path))
                made = self.name + (" " + self.ffmpeg[1] if self.ffmpeg else "")
                kept = f"{stem}{ending}-{made.replace(' ', '-')}{os.path.splitext(name)[1]}"
                shutil.copy2(os.path.join(parent, name), os.path.join(self.options.keep, kept))

    def cost(self):
        return f"{self.seconds:.1f} s {self.megabytes} MB"

    def text(self):
        notes = f" [{', '.join(self.notes)}]" if self.notes else ""
        if self.faults:
            return "WRONG: " + "; ".join(self.faults) + notes
        if self.unable:
            return f"- this ffmpeg cannot: {self.unable}"
        return (f"- {self.refused}" if self.refused else "ok") + notes

    def record(self):
        return {"clip": self.clip.path, "target": self.target, "speed": self.speed,
                "ok": not self.faults, "faults": self.faults, "refused": self.refused,
                "notes": self.notes, "seconds": round(self.seconds, 2),
                "megabytes": self.megabytes}
