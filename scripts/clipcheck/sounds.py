"""Where the sound of a movie lies beside that of its source."""
import numpy as np

from media import SOUND_RATE

WINDOW = SOUND_RATE // 2
REACH = SOUND_RATE * 2 // 5  # how far a window is looked for before and behind its place
QUIET = 20.0                 # of 32768


def lag(heard, whole, begin):
    """How many samples later than `begin` of `whole` the window `heard` begins there; None when
    nothing can be told of silence, NaN when it is not there. Of tones, which are alike in many
    places, the nearest place counts."""
    first = max(0, begin - REACH)
    part = whole[first:begin + len(heard) + REACH].astype(np.float64)
    if len(part) < len(heard):
        return None
    if heard.std() < QUIET:
        due = whole[begin:begin + len(heard)]
        return float("nan") if due.std() > 20 * QUIET else None
    heard = heard.astype(np.float64) - heard.mean()
    size = 1 << (len(part) + len(heard)).bit_length()
    product = np.fft.irfft(np.fft.rfft(part, size) * np.conj(np.fft.rfft(heard, size)), size)
    product = product[:len(part) - len(heard) + 1]
    sums = np.concatenate([[0.0], np.cumsum(part)])
    squares = np.concatenate([[0.0], np.cumsum(part ** 2)])
    length = len(heard)
    mean = (sums[length:] - sums[:-length]) / length
    energy = squares[length:] - squares[:-length] - length * mean ** 2
    alike = product / np.sqrt(np.maximum(energy, 1.0) * np.sum(heard ** 2))
    best = alike.max()
    if best < 0.6:
        return float("nan")
    places = np.flatnonzero(alike > best - 0.02) + first - begin
    return int(places[np.argmin(np.abs(places))])


def lags(movie, source, shift):
    """(time in the movie, lag in seconds) of windows from start to end. `shift` is what has to be
    added to a time of the movie for that of the source. A lag of NaN: not found there."""
    found = []
    for begin in range(0, max(1, len(movie.samples) - WINDOW // 2), WINDOW):
        heard = movie.samples[begin:begin + WINDOW]
        moment = movie.start + begin / SOUND_RATE
        place = round((moment + shift - source.start) * SOUND_RATE)
        if place <= -REACH or place >= len(source.samples):
            continue
        # What lies before the source's first sample is silence.
        lead = REACH + WINDOW
        whole = np.concatenate([np.zeros(lead, np.float32), source.samples,
                                np.zeros(lead, np.float32)])
        value = lag(heard, whole, place + lead)
        if value is not None:
            found.append((moment, -value / SOUND_RATE))
    return found
