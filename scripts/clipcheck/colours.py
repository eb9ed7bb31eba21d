"""What colours a clip or movie says it has, and those that it shows."""
import numpy as np

from media import HEIGHT, WIDTH

KR_KB = {"bt709": (0.2126, 0.0722), "bt470bg": (0.299, 0.114), "smpte170m": (0.299, 0.114),
         "smpte240m": (0.212, 0.087), "fcc": (0.30, 0.11), "bt2020nc": (0.2627, 0.0593)}
STANDARD = ("bt470bg", "smpte170m", "fcc")
# Curves that television and films of usual contrast have; players treat them alike.
USUAL_CURVES = ("bt709", "smpte170m", "bt470bg", "gamma22", "gamma28", "iec61966-2-1",
                "bt2020-10", "bt2020-12", "smpte240m")
# In dB. Right movies come to 42 and more, the wrong matrix to 26, the wrong range to 33.
LEAST_RATIO = 37
WIDE_CURVES = ("arib-std-b67", "smpte2084")


# Light of BT.2020's red, green and blue in that of BT.709's (BT.2087).
NARROWED = np.array([[1.660491, -0.587641, -0.072850], [-0.124550, 1.132900, -0.008349],
                     [-0.018151, -0.100579, 1.118730]])


def is_high(media):
    return media.height > 576 or media.width > 768


def conventions(media):
    """(primaries, matrix) that a film of this size has when it says nothing."""
    if is_high(media):
        return [("bt709", "bt709")]
    american = [("smpte170m", "smpte170m")]
    european = [("bt470bg", "bt470bg"), ("bt470bg", "smpte170m")]
    if media.height in (480, 486):
        return american
    if media.height == 576:
        return european
    return american + european


def matrix_of(media):
    tag = media.tag("color_space")
    return tag if tag in KR_KB else conventions(media)[0][1]


def curve_of(media):
    return media.tag("color_transfer") or "bt709"


def is_full(media):
    return media.tag("color_range") == "pc" or media.video.get("pix_fmt", "").startswith("yuvj")


def rgb(media, planes):
    """Pictures in red, green and blue as the file's own tags say, 0 to 255."""
    if media.video.get("pix_fmt", "").startswith(("gbr", "rgb", "bgr")):
        # Decoding made standard colours of them.
        kr, kb = KR_KB["smpte170m"]
        full = False
    else:
        kr, kb = KR_KB[matrix_of(media)]
        full = is_full(media)
    luma, blue, red = planes[:, 0], planes[:, 1] - 128, planes[:, 2] - 128
    if not full:
        luma, blue, red = (luma - 16) * 255 / 219, blue * 255 / 224, red * 255 / 224
    r = luma + 2 * (1 - kr) * red
    b = luma + 2 * (1 - kb) * blue
    g = (luma - kr * r - kb * b) / (1 - kr - kb)
    return np.clip(np.stack([r, g, b], axis=1), 0, 255)


def narrowed(pictures):
    """Pictures of BT.2020 and a usual curve in the colours of BT.709."""
    signal = pictures / 255
    light = np.where(signal < 0.081, signal / 4.5, ((signal + 0.099) / 1.099) ** (1 / 0.45))
    light = np.clip(np.einsum("ij,njhw->nihw", NARROWED, light), 0, 1)
    return 255 * np.where(light < 0.018, 4.5 * light, 1.099 * light ** 0.45 - 0.099)


def tag_faults(movie, source, keeps_tones):
    """What is wrong with what the movie says. `keeps_tones`: whether its codec can hold pictures
    of a wide range, which are not to be changed then."""
    said = {name: movie.tag("color_" + name) for name in ("primaries", "transfer", "space")}
    missing = [name for name, value in said.items() if value is None]
    if missing:
        return ["says no colours (" + ", ".join(missing) + ")"]
    faults = []
    own = (source.tag("color_primaries"), source.tag("color_space"))
    allowed = [(prim or first, mat or second) for first, second in conventions(source)
               for prim, mat in [own]]
    wide = curve_of(source) in WIDE_CURVES
    if not (wide and keeps_tones):
        allowed += conventions(movie)  # that the pictures were brought there the pixels tell
    pair = (said["primaries"], said["space"])
    alike = {(first, "bt470bg" if second in STANDARD else second) for first, second in allowed}
    if (pair[0], "bt470bg" if pair[1] in STANDARD else pair[1]) not in alike:
        faults.append("says primaries and matrix {}/{}, expected {}".format(
            *pair, " or ".join(sorted({"/".join(each) for each in allowed}))))
    curve = said["transfer"]
    expected = [curve_of(source)] if wide and keeps_tones else USUAL_CURVES
    if curve not in expected:
        faults.append(f"says transfer {curve}, the source has {curve_of(source)}")
    return faults


def pixel_faults(movie, source, shown, due):
    """`shown`: planes of pictures of the movie; `due`: those of the same moments in the source."""
    made, given = rgb(movie, shown), rgb(source, due)
    wide = curve_of(source) in WIDE_CURVES
    if wide and curve_of(movie) != curve_of(source):
        return tone_faults(made, given, np.mean(np.abs(shown - due)))
    if source.tag("color_primaries") == "bt2020" and movie.tag("color_primaries") != "bt2020":
        given = narrowed(given)
    # Of larger areas, so that sharpness and the exact place of edges do not count.
    error = (made - given).reshape(len(made), 3, HEIGHT // 4, 4, WIDTH // 4, 4).mean(axis=(3, 5))
    mean = error.mean(axis=(0, 2, 3))
    ratio = 10 * np.log10(255 ** 2 / max(float(np.mean(error ** 2)), 0.01))
    if np.abs(mean).max() > 4 or ratio < LEAST_RATIO:
        return ["colours differ: mean of red, green, blue off by "
                f"{mean[0]:+.1f} {mean[1]:+.1f} {mean[2]:+.1f} of 255, PSNR {ratio:.1f} dB"]
    return []


def tone_faults(made, given, same):
    """Pictures of a wide range brought to a usual one: alike, but not as they were, which would
    look pale or dark under the new name. `same`: how much their bytes differ."""
    if same < 3 or float(np.mean((made - given) ** 2)) < 30:
        return ["relabelled: the pixels are the source's, the transfer is said to be another"]
    alike = np.corrcoef(made.ravel(), given.ravel())[0, 1]
    if alike < 0.85:
        return [f"tones differ: correlation with the source {alike:.2f}"]
    return []
