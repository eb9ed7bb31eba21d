"""Which picture of a movie shows which moment of its source, and in what order its fields are."""
import numpy as np

from media import HEIGHT, WIDTH

REACH = 6      # moments that a picture is looked for before and behind its place
WIDE = 150     # likewise of a few pictures, by which a shift of the whole is found
CHUNK = 256
FLAT = 3.0     # contrast below which pictures show too little to be compared
STILL = 0.002  # difference of normalised pictures below which nothing moves


def halves(planes, lines):
    """The brightness of both fields, brought to the middle between their lines, so that what
    stands still looks alike in both. `lines` are those of the picture before it was made small."""
    luma = planes[:, 0].astype(np.float32)
    top, bottom = luma[..., :WIDTH].copy(), luma[..., WIDTH:].copy()
    part = 0.25 * HEIGHT / (lines / 2)
    top[:, :-1] += part * (top[:, 1:] - top[:, :-1])
    bottom[:, 1:] -= part * (bottom[:, 1:] - bottom[:, :-1])
    return top, bottom


def normalised(images):
    """Without brightness and contrast, which conversions of colours change a little."""
    flat = images.reshape(len(images), -1)
    flat = flat - flat.mean(axis=1, keepdims=True)
    deviation = flat.std(axis=1, keepdims=True)
    return flat / np.maximum(deviation, FLAT)


class Moments:
    """The pictures, or the fields, in the order of time. `order` is "p", "tff" or "bff"."""

    def __init__(self, pictures, order):
        self.planes = pictures.planes
        self.lines = pictures.lines
        self.order = order
        self.times = pictures.times
        self.picture_step = pictures.step
        self.regular = pictures.regular
        if order != "p":
            step = np.clip(np.append(np.diff(self.times), pictures.step), 0, pictures.step) / 2
            self.times = np.stack([self.times, self.times + step], axis=1).ravel()

    def __len__(self):
        return len(self.times)

    def _tops(self, indices):
        return (indices % 2 == 0) == (self.order == "tff")

    def images(self, indices):
        indices = np.asarray(indices)
        if self.order == "p":
            top, bottom = halves(self.planes[indices], self.lines)
            return normalised((top + bottom) / 2)
        top, bottom = halves(self.planes[indices // 2], self.lines)
        return normalised(np.where(self._tops(indices)[:, None, None], top, bottom))

    def colours(self, indices):
        """All planes, as they were decoded."""
        if self.order == "p":
            planes = self.planes[indices].astype(np.float32)
            return (planes[..., :WIDTH] + planes[..., WIDTH:]) / 2
        planes = self.planes[indices // 2].astype(np.float32)
        tops = self._tops(indices)[:, None, None, None]
        return np.where(tops, planes[..., :WIDTH], planes[..., WIDTH:])


def distance(one, other):
    return np.mean((one - other) ** 2, axis=1)


def field_order(pictures):
    """By the motion: "tff", "bff", "p" for whole pictures, None when too little moves."""
    moved = {"tff": 0.0, "bff": 0.0}
    within = between = 0.0
    votes = {"tff": 0, "bff": 0}
    moving = 0
    for begin in range(0, len(pictures) - 1, CHUNK):
        top, bottom = (normalised(part) for part in halves(
            pictures.planes[begin:begin + CHUNK + 1], pictures.lines))
        # A field is nearer to the one that follows than to its own kind's next one, which is nearer
        # than what comes behind that.
        tff = distance(bottom[:-1], top[1:])
        bff = distance(top[:-1], bottom[1:])
        motion = distance(top[:-1], top[1:])
        seen = motion > STILL
        moving += int(np.count_nonzero(seen))
        moved["tff"] += float(tff[seen].sum())
        moved["bff"] += float(bff[seen].sum())
        within += float(distance(top[:-1], bottom[:-1])[seen].sum())
        between += float(motion[seen].sum())
        votes["tff"] += int(np.count_nonzero(seen & (tff < 0.5 * motion) & (bff > motion)))
        votes["bff"] += int(np.count_nonzero(seen & (bff < 0.5 * motion) & (tff > motion)))
    if between == 0:
        return None
    if within < 0.03 * between:
        return "p"
    # Of lines that were made up between those of a field some look so, too.
    for order, other in (("tff", "bff"), ("bff", "tff")):
        if votes[order] >= 3 and votes[order] > max(3 * votes[other], moving / 4):
            return order
    return None


class Match:
    """Every moment of the movie and the moment of the source that it looks like."""

    def __init__(self, movie, source, stretch):
        self.movie = movie
        self.source = source
        count = len(movie)
        # Where the source's moments fall in the movie, and what is due at each moment of the movie.
        self.places = (source.times - source.times[0]) * stretch
        steps = np.diff(self.places)
        step = float(np.median(steps)) if len(steps) else 0.0
        # What lies between two moments of the source may show either.
        movie_step = float(np.median(np.diff(movie.times))) if count > 1 else 0.0
        relation = movie_step / step if step else 1.0
        is_simple = min(abs(relation - whole) for whole in (0.5, 1, 2)) < 0.01
        self.tolerance = 0.75 * step if is_simple else max(0.75 * step, 0.75 * movie_step)
        if not source.regular:
            self.tolerance = max(self.tolerance, 1.1 * source.picture_step * stretch)
        self.due = movie.times - movie.times[0]
        self.late = self._lateness()
        self.due = self.due - self.late
        self.expected = nearest(self.places, self.due)
        self.found = self.expected.copy()
        self.wrong = np.zeros(count, bool)
        self.likeness = np.ones(count)
        self.informative = np.zeros(count, bool)
        for begin in range(0, count, CHUNK):
            self._look(np.arange(begin, min(begin + CHUNK, count)))

    def _lateness(self):
        """By how many seconds the movie as a whole is behind its source, both counted from their
        first pictures; negative when its first pictures are missing."""
        found = []
        for index in np.linspace(0, len(self.movie) - 1, 9).astype(int)[1:-1]:
            middle = int(nearest(self.places, self.due[index:index + 1])[0])
            first, last = max(0, middle - WIDE), min(len(self.source), middle + WIDE + 1)
            distances = distance(self.movie.images([index]),
                                 self.source.images(np.arange(first, last)))
            best = first + int(np.argmin(distances))
            if distances[middle - first] > 1.5 * distances[best - first] + 0.25 * STILL:
                found.append(self.due[index] - self.places[best])
            else:
                found.append(0.0)
        if not found:
            return 0.0
        usual = float(np.median(found))
        agree = sum(abs(value - usual) <= self.tolerance for value in found)
        return usual if abs(usual) > self.tolerance and agree > len(found) / 2 else 0.0

    def _look(self, indices):
        shown = self.movie.images(indices)
        offsets = np.arange(-REACH, REACH + 1)
        candidates = self.expected[indices][:, None] + offsets[None, :]
        outside = (candidates < 0) | (candidates >= len(self.source))
        clipped = np.clip(candidates, 0, len(self.source) - 1)
        first, last = clipped.min(), clipped.max()
        images = self.source.images(np.arange(first, last + 1))
        distances = np.stack([distance(shown, images[clipped[:, column] - first])
                              for column in range(len(offsets))], axis=1)
        distances[outside] = np.inf
        times = self.places[clipped]
        due = self.due[indices]
        # Where the source has a hole, either of its sides may be seen.
        after = np.clip(np.searchsorted(self.places, due), 1, max(1, len(self.places) - 1))
        gap = self.places[after % len(self.places)] - self.places[after - 1]
        tolerance = np.where(gap > 2 * self.tolerance, gap + self.tolerance, self.tolerance)
        allowed = np.abs(times - due[:, None]) <= tolerance[:, None]
        allowed[:, REACH] = True
        best = np.argmin(distances, axis=1)
        rows = np.arange(len(indices))
        within = np.where(allowed, distances, np.inf)
        place = np.argmin(within, axis=1)
        inside = within[rows, place]
        least = distances[rows, best]
        # Of the same field: fields of what stands still differ, too.
        same = distances[:, REACH % 2::2] if self.source.order != "p" else distances
        worst = np.where(np.isfinite(same), same, 0).max(axis=1)
        self.informative[indices] = worst > STILL
        # Better by far, not by noise.
        wrong = (inside > 1.5 * least + 0.25 * STILL) & (worst > STILL)
        wrong &= due >= -self.tolerance  # before the source's first picture nothing is due
        self.wrong[indices] = wrong
        self.found[indices] = clipped[rows, np.where(wrong, best, place)]
        self.likeness[indices] = np.where(due >= -self.tolerance, 1 - least / 2, 1)

    def faults(self, copies):
        """`copies`: pictures at the start that are told of elsewhere."""
        found = []
        if self.late < 0:
            found.append(f"begins {-1000 * self.late:.0f} ms late in the source")
        elif self.late > 0 and copies <= 2:
            found.append(f"shows its source {1000 * self.late:.0f} ms late, counted from the first "
                         "picture")
        runs = self._runs()
        for begin, end, shift in runs[:3]:
            wrong = int(self.wrong[begin:end + 1].sum())
            moment = f"{self.due[begin]:.2f} s"
            where = f"from {moment} on" if wrong > 2 else f"at {moment}"
            found.append(f"{wrong} pictures {where} show what is {abs(shift):.0f} ms "
                         f"{'later' if shift > 0 else 'earlier'} in the source")
        if len(runs) > 3:
            wrong = sum(int(self.wrong[begin:end + 1].sum()) for begin, end, _ in runs[3:])
            found.append(f"{wrong} more pictures are out of their places")
        return found

    def _runs(self):
        """Stretches of wrong pictures with the same shift, in milliseconds."""
        shifts = np.round((self.places[self.found] - self.due) * 1000)
        runs = []
        begin = None
        for index in range(len(self.movie) + 1):
            wrong = index < len(self.movie) and self.wrong[index]
            if wrong and begin is not None and abs(shifts[index] - shifts[begin]) > 12:
                runs.append((begin, index - 1, shifts[begin]))
                begin = index
            elif wrong and begin is None:
                begin = index
            elif not wrong and begin is not None and (
                    index == len(self.movie) or self.informative[index]):
                runs.append((begin, index - 1, shifts[begin]))
                begin = None
        return runs


def leading_copies(movie, source):
    """Pictures of the movie behind its first one that still show the source's first."""
    movie, source = Moments(movie, "p"), Moments(source, "p")
    first, second = source.images([0]), source.images([min(1, len(source) - 1)])
    count = 0
    while count + 1 < len(movie):
        shown = movie.images([count + 1])
        if distance(shown, first)[0] * 1.5 > distance(shown, second)[0]:
            break
        count += 1
    return count


def nearest(places, moments):
    right = np.clip(np.searchsorted(places, moments), 1, max(1, len(places) - 1))
    if len(places) == 1:
        return np.zeros(len(moments), int)
    left = right - 1
    return np.where(moments - places[left] <= places[right] - moments + 1e-6, left, right)
