"""The bundle's fonts: Debian's families, cut down to what the texts need, so that they look alike on every machine.

Latin, Greek, Cyrillic and Hebrew are whole; Japanese, Korean and both kinds of Chinese have the characters of the
bundle's own texts, punctuation and the syllables of Japanese. Other characters come from the system's fonts.
"""

import pathlib

from steps import Failed, run

EUROPE = "U+0020-052F,U+1E00-1FFF,U+2000-22FF,U+25A0-25FF,U+FB00-FB06,U+FFFD"
HEBREW = "U+0020,U+00A0,U+0590-05FF,U+200E-200F,U+20AA,U+FB1D-FB4F"
EAST_ASIA = "U+3000-303F,U+FF00-FFEF"
KANA = "U+3040-30FF"
JAMO = "U+3130-318F"

INTER = "/usr/share/fonts/opentype/inter/Inter-{}.otf"
NOTO_HEBREW = "/usr/share/fonts/truetype/noto/NotoSansHebrew-{}.ttf"
NOTO_CJK = "/usr/share/fonts/opentype/noto/NotoSansCJK-{}.ttc"
# Language, its face's place in Noto Sans CJK's collections, the end of that face's name.
CJK_FACES = (("ja", 0, "JP", f"{EAST_ASIA},{KANA}"), ("ko", 1, "KR", f"{EAST_ASIA},{JAMO}"),
             ("zh-Hans", 2, "SC", EAST_ASIA), ("zh-Hant", 3, "TC", EAST_ASIA))


def _texts(bundle, language):
    return (bundle / f"Contents/Resources/{language}.lproj/Localizable.strings").read_text(encoding="utf-8")


def _subset(source, target, log, *options):
    if not pathlib.Path(source).exists():
        raise Failed(f"There is no font {source}")
    run(["pyftsubset", source, f"--output-file={target}", "--no-hinting", "--no-recalc-timestamp", *options], log,
        environment={"PYTHONHASHSEED": "0"})


def add_fonts(bundle, log):
    folder = bundle / "Contents/Resources/Fonts"
    folder.mkdir()
    for weight in ("Light", "Regular", "Medium", "Bold"):
        _subset(INTER.format(weight), folder / f"Inter-{weight}.otf", log, f"--unicodes={EUROPE}")
    for weight in ("Regular", "Bold"):
        _subset(NOTO_HEBREW.format(weight), folder / f"NotoSansHebrew-{weight}.ttf", log, f"--unicodes={HEBREW}")
        for language, face, name, basic in CJK_FACES:
            texts = "".join(sorted({letter for letter in _texts(bundle, language) if letter >= "\u2e80"}))
            _subset(NOTO_CJK.format(weight), folder / f"NotoSansCJK{name}-{weight}.otf", log, f"--font-number={face}",
                    f"--unicodes={basic}", f"--text={texts}")
