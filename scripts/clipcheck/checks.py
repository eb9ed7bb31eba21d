"""What is wrong with a movie, by comparing it with its source. Every function returns faults as
texts; what is right returns none."""
import re

import numpy as np

import colours
import sounds
from media import decode_pictures, decode_sound, probe, ratio
from motion import Match, Moments, field_order, leading_copies

STANDARD_RATES = [24000 / 1001, 24, 25, 30000 / 1001, 30, 48000 / 1001, 48, 50, 60000 / 1001, 60]
HIGH = 31.0         # more whole pictures a second than this are "50p"
SOUND_STEP = 0.020  # half a picture
SOUND_END = 0.060


def kind_of(size):
    """Of a size's label, such as "1280x 720 p (24|25|30 fps)": i, p25 or p50."""
    found = re.search(r"\d ([ip]) +\((?: |24\|)*(25|50)", size)
    if not found:
        return None
    return "i" if found.group(1) == "i" else "p" + found.group(2)


def true_order(media):
    """By the pictures; when too little moves, by what they say."""
    seen = field_order(media.pictures)
    if seen:
        return seen
    flags = media.pictures.flags
    for letter, order in (("T", "tff"), ("B", "bff")):
        if flags.count(letter) > len(flags) / 2:
            return order
    return "p"


def source_rate(pictures):
    """Pictures a second; None when they come at no constant rate."""
    steps = np.diff(pictures.times)
    if not len(steps):
        return None
    span = pictures.times[-1] - pictures.times[0]
    median = float(np.median(steps))
    if median <= 0 or np.mean(np.abs(steps - median) > 0.3 * median) > 0.1:
        return None
    whole = max(1, round(span / median))
    rate = whole / span
    for standard in STANDARD_RATES:
        if abs(rate / standard - 1) < 0.0004:
            return standard
    return rate


class Check:
    """One movie against its source, which is decoded already."""

    def __init__(self, source, path, intention, folder, conceals=False):
        """conceals: the movie's decoder is another than the check's, and the clip is damaged."""
        self.source = source
        self.conceals = conceals
        self.target = intention["target"]
        self.speed = intention["speed"]
        self.kind = kind_of(intention["size"])
        self.folder = folder
        self.movie = probe(path)
        self.notes = []
        self.order = true_order(source)
        self.is_copy = (self.target == "quicktime" and
                        self.movie.video.get("codec_name") == source.video.get("codec_name"))
        if self.target == "quicktime" and not self.is_copy:
            self.notes.append("made as " + self.movie.video.get("codec_name", "?"))
        self.rate = source_rate(source.pictures) or 0
        self.slow = 2.0 if self.speed == "slow" else 1.0

    def faults(self):
        crop, shape = self._shape()
        decode_pictures(self.movie, self.folder, crop)
        decode_sound(self.movie, self.folder)
        pictures = self.movie.pictures
        claimed = self._claimed()
        # Where the claim is wrong, which is told, the rest goes by what is seen.
        shown = field_order(pictures)
        order = shown if shown in ("tff", "bff") else claimed
        self.match = Match(Moments(pictures, order), Moments(self.source.pictures, self.order),
                           self.slow)
        self.copies = leading_copies(pictures, self.source.pictures)
        found = self._count() + self._rate_and_length() + shape + self._fields(claimed, shown)
        # What stands in for lost pictures is each decoder's own choice.
        found += ([] if self.conceals else self._likeness() + self._colours()) + self._sound()
        return found

    # What comes out and when

    def _count(self):
        pictures, source = self.movie.pictures, self.source.pictures
        faults = []
        if self.is_copy:
            # Its index may hold pictures that cannot be decoded, as the source did.
            if len(pictures) != len(source):
                faults.append(f"{len(pictures)} pictures, expected {len(source)}")
            return faults
        told = int(self.movie.video.get("nb_frames", len(pictures)))
        if told != len(pictures):
            faults.append(f"{told} pictures in the index, {len(pictures)} decoded")
        step = pictures.step or source.step
        span = source.times[-1] - source.times[0] + source.step
        due = span * self.slow / step if step else len(source)
        # Half a picture more or less is odd counts of fields or halved rates; where pictures of
        # the source are missing or come irregularly it is where their gaps fall.
        allowed = 0.6 if source.regular else 1.1 * max(1.0, source.step * self.slow / (step or 1))
        if abs(len(pictures) - due) > allowed:
            text = f"{len(pictures)} pictures, expected {due:.1f}".replace(".0", "")
            if self.copies > 2:
                text += f" (it begins with {self.copies} copies of the first)"
            faults.append(text)
        return faults

    def _rate_and_length(self):
        faults = []
        movie, pictures = self.movie, self.movie.pictures
        step = pictures.step
        if step and not self.is_copy:
            made = 1 / step
            allowed = self._allowed_rates()
            if not any(abs(made / rate - 1) < 0.0004 for rate in allowed):
                faults.append(f"{made:.3f} pictures a second, expected "
                              + " or ".join(f"{rate:.3f}" for rate in allowed))
            uneven = np.abs(np.diff(pictures.times) - step).max()
            if uneven > 0.002:
                faults.append(f"pictures come unevenly: {uneven * 1000:.0f} ms off")
        elif self.is_copy and len(pictures) == len(self.source.pictures):
            own = (self.source.pictures.times - self.source.pictures.times[0]) * self.slow
            off = np.abs(pictures.times - pictures.times[0] - own).max()
            if off > 0.004:
                faults.append(f"a picture comes {off * 1000:.0f} ms before or after its time")
        if pictures.times[0] - float(movie.format.get("start_time", 0)) > max(step, 0.001) + 0.001 \
                and not len(movie.sound.samples):
            faults.append(f"begins at {pictures.times[0]:.3f} s")
        length = float(movie.video.get("duration", 0))
        span = pictures.times[-1] - pictures.times[0] + step
        if step and abs(length - span) > step + 0.002:
            faults.append(f"its pictures are said to be {length:.3f} s long, they are {span:.3f} s")
        return faults

    def _allowed_rates(self):
        rate = self.rate
        if any(abs(rate / standard - 1) < 0.0004 for standard in STANDARD_RATES):
            doubled = self.kind == "p50" and rate < HIGH
            halved = rate > HIGH and self.kind in ("p25", "i") and self.speed != "slow"
            slowed = rate > HIGH and self.speed == "slow"
            return [rate * 2 if doubled else rate / 2 if halved or slowed else rate]
        if abs(rate - 15) < 0.1:
            return [30.0, 30000 / 1001]
        high = self.kind == "p50"
        return [each for each in STANDARD_RATES if (each > HIGH) == high]

    # Shape

    def _shape(self):
        """The filter that leaves what the source's picture became, and what is wrong."""
        movie, own = self.movie, self.source.shape
        near = abs(movie.shape / own - 1)
        # Standard pictures have some pixels beside what is usually shown.
        if near < 0.01 or (near < 0.031 and self.source.height <= 576):
            return None, []
        if self.is_copy or (self.target == "prores" and self.order != "p"):
            return None, [f"is shown {movie.shape:.3f} wide by 1, the source {own:.3f}"]
        if movie.shape > own:
            width = round(movie.width * own / movie.shape / 2) * 2
            left = (movie.width - width) // 4 * 2
            self.notes.append("bars left and right")
            return f"crop={width}:{movie.height}:{left}:0", self._bars(left, 0)
        height = round(movie.height * movie.shape / own / 4) * 4
        top = (movie.height - height) // 8 * 4
        self.notes.append("bars above and below")
        return f"crop={movie.width}:{height}:0:{top}", self._bars(0, top)

    def _bars(self, left, top):
        """Where bars are due there has to be black."""
        width, height = (left, self.movie.height) if left else (self.movie.width, top)
        if min(width, height) < 8:
            return []
        bar = probe(self.movie.path)
        decode_pictures(bar, self.folder, f"crop={width - 4}:{height - 4}:0:0:exact=1")
        brightest = bar.pictures.planes[:, 0].max()
        if brightest > 24:
            return [f"is shown {self.movie.shape:.3f} wide by 1, the source "
                    f"{self.source.shape:.3f}, and there are no bars"]
        return []

    # Fields

    def _claimed(self):
        """The order of the movie's own claim."""
        order = self.movie.video.get("field_order", "unknown")
        return {"tt": "tff", "tb": "tff", "bb": "bff", "bt": "bff"}.get(order, "p")

    def _fields(self, claimed, shown):
        faults = []
        told = self.movie.video.get("field_order", "unknown")
        if shown in ("tff", "bff") and shown != claimed:
            faults.append(f"fields are {shown} by the pictures, the movie says {told}")
        if self.kind == "i" and claimed != "tff":
            faults.append(f"says {told}, expected fields, top first")
        if self.kind in ("p25", "p50") and claimed != "p" and not self.is_copy:
            faults.append(f"says {told}, expected whole pictures")
        if self.target == "prores" and told == "tt":
            faults.append("says tt, where cameras and editors write tb (2 fields, 9)")
        flags = set(self.movie.pictures.flags)
        if self.movie.video.get("codec_name") == "prores":
            wanted = {"p": {"P"}, "tff": {"T"}, "bff": {"B"}}[claimed]
            if flags != wanted:
                faults.append(f"container says {told}, its pictures {'/'.join(sorted(flags))}")
        return faults

    # Content

    def _likeness(self):
        match = self.match
        faults = match.faults(self.copies)
        seen = match.informative
        # Other tones have other contrasts.
        least = 0.95 if colours.curve_of(self.movie) == colours.curve_of(self.source) or \
            colours.curve_of(self.source) not in colours.WIDE_CURVES else 0.8
        unlike = np.flatnonzero((match.likeness < least) & seen)
        if len(unlike):
            faults.append(f"{len(unlike)} of {len(seen)} pictures look unlike their source, the "
                          f"first at {match.due[unlike[0]]:.2f} s "
                          f"(correlation {match.likeness[unlike].min():.2f})")
        return faults

    def _colours(self):
        match = self.match
        right = np.flatnonzero(~match.wrong & (match.likeness > 0.9))
        faults = colours.tag_faults(self.movie, self.source, self.target != "aic")
        if len(right):
            some = right[np.linspace(0, len(right) - 1, min(9, len(right))).astype(int)]
            faults += colours.pixel_faults(self.movie, self.source, match.movie.colours(some),
                                           match.source.colours(match.found[some]))
        return faults

    # Sound

    def _sound(self):
        source, movie = self.source.sound, self.movie.sound
        if not len(source.samples):
            return [] if not len(movie.samples) else ["there is sound, the source has none"]
        if not len(movie.samples):
            return ["no sound"]
        if len(self.source.sounds) > 1:
            self.notes.append(f"one of {len(self.source.sounds)} sound tracks")
        faults = []
        stream = self.movie.sounds[0]
        told = round(int(stream.get("duration_ts", 0)) * (ratio(stream, "time_base") or 0)
                     * movie.rate)
        if abs(told - movie.decoded) > movie.rate // 200:  # edit lists count in coarse steps
            faults.append(f"{told} samples of sound in the index, {movie.decoded} decoded")
        # What one picture of the movie shows was at this time in the source.
        match = self.match
        right = np.flatnonzero(~match.wrong & match.informative & (match.due >= -1e-6))
        first = right[0] if len(right) else 0
        shown = self.source.pictures.times[0] + match.places[match.found[first]]
        if self.slow > 1:
            first, shown = 0, self.source.pictures.times[0]
        shift = shown - match.movie.times[first]
        faults += self._sound_place(shift)
        late = movie.end + shift - source.end
        if abs(late) > SOUND_END:
            faults.append(f"sound ends {abs(late):.2f} s too {'late' if late > 0 else 'early'}")
        return faults

    def _sound_place(self, shift):
        found = sounds.lags(self.movie.sound, self.source.sound, shift)
        # A window at either end may hold too little.
        lost = [moment for moment, value in found[1:-1] if np.isnan(value)]
        known = [(moment, value) for moment, value in found if not np.isnan(value)]
        faults = []
        if lost or (found and len(found) < 4 and not known):
            faults.append("sound is not that of the source in "
                          f"{len(lost) or len(found)} of {len(found)} places"
                          + (f", the first at {lost[0]:.2f} s" if lost else ""))
        late = [(moment, value) for moment, value in known if abs(value) > SOUND_STEP]
        if len(late) > 1 or (late and len(known) < 4):
            values = sorted(value for _, value in late)
            faults.append(f"sound is {1000 * values[len(values) // 2]:+.0f} ms off the pictures in "
                          f"{len(late)} of {len(known)} places, the first at {late[0][0]:.2f} s")
        return faults
