"""In what two movies of one clip differ that were made by different ffmpegs."""
import numpy as np

# Decoders, scalers and encoders of different years agree within these.
TIME = 0.002       # seconds between the times of a picture
SOUND = 0.030      # seconds; AC-3 and MP3 decoders begin a block of samples apart
LIKENESS = 4.0     # of 255, the mean difference of a picture's samples


def facts(movie):
    """What a movie is, as texts to be compared by their names."""
    pictures = movie.pictures
    return {"codec": movie.video.get("codec_name"), "size": f"{movie.width}x{movie.height}",
            "pictures": str(len(pictures)), "fields": movie.video.get("field_order", "unknown"),
            "picture flags": "/".join(sorted(set(pictures.flags))),
            "shape": f"{movie.shape:.3f}", "samples as": movie.video.get("pix_fmt"),
            # Limited is what no range means.
            "colours": "/".join([movie.video.get("color_range", "tv")]
                                + [str(movie.tag("color_" + name))
                                   for name in ("primaries", "transfer", "space")]),
            "sound": " ".join(str(sound.get(key)) for sound in movie.sounds
                              for key in ("codec_name", "channels", "sample_rate")) or "none"}


def differences(movie, usual, damaged=False):
    """Texts, none when the movies are alike. What is shown for lost pictures may differ."""
    own, other = facts(movie), facts(usual)
    found = [f"{name}: {own[name]}, else {other[name]}" for name in own if own[name] != other[name]]
    own, other = movie.pictures, usual.pictures
    for name, value, expected, allowed in (
            # How long the last picture is shown not all can be told.
            ("pictures last", float(movie.video.get("duration", 0)),
             float(usual.video.get("duration", 0)), TIME + 0.6 * usual.pictures.step),
            ("sound begins", movie.sound.start, usual.sound.start, SOUND),
            ("sound ends", movie.sound.end, usual.sound.end, SOUND)):
        if abs(value - expected) > allowed:
            found.append(f"{name}: {value:.3f} s, else {expected:.3f} s")
    if len(own) != len(other) or own.planes.shape != other.planes.shape:
        return found
    late = np.abs((own.times - own.times[0]) - (other.times - other.times[0])).max()
    if late > TIME:
        found.append(f"a picture comes {1000 * late:.0f} ms off")
    if damaged:
        return found
    off = np.abs(own.planes.astype(np.int16) - other.planes).mean(axis=(2, 3)).max(axis=1)
    if off.max() > LIKENESS:
        found.append(f"{np.sum(off > LIKENESS)} pictures look different, the first is number "
                     f"{np.argmax(off > LIKENESS)} (off by up to {off.max():.1f} of 255)")
    return found
