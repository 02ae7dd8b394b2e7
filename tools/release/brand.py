"""Puts a portal's brand into a bundle: portals/NAME/ with Info.plist, texts, pictures and fonts (see docs/portal.md).

A setting that is missing, unknown or impossible stops the release, with file, key and sentence.
"""

import difflib
import pathlib
import plistlib
import re
import shutil
import subprocess
import xml.parsers.expat

import icon
from steps import Failed

HOST = r"https?://[A-Za-z0-9.-]+(:\d+)?(/[^\s\"<>]*)?"
TEXT = (r"\S(.*\S)?", "is empty, or begins or ends with a blank")
ADDRESS = (HOST, "is no address such as https://portal.example.com/config.json")
COLOR = (r"#[0-9A-Fa-f]{6}", "is no colour such as #1A1A1A")
PATH = (r"(/[^/]+)+", "is no path below the home such as /Library/Application Support/Kit")
ENVIRONMENTS = (("Dev1", "DEV1_URL"), ("QA1", "QA1_URL"), ("Beta", "BETA_URL"), ("Prod", "PRODUCTION_URL"))
TOP = {
    "CFBundleIdentifier": (r"[A-Za-z][A-Za-z0-9-]*(\.[A-Za-z0-9-]+)+", "is no identifier such as com.example.installer"),
    "QNEnv": (r"dev1|qa1|beta|prod", "is none of dev1, qa1, beta and prod"),
}
SETTINGS = {
    "QNPortalType": (r"[a-z][a-z0-9-]*", "is no word of small letters, digits and hyphens"),
    **{address: ADDRESS for _, address in ENVIRONMENTS},
    **{f"kQNApplicationDataPath{name}": PATH for name, _ in ENVIRONMENTS},
    **{f"kQNInstallBinaryPath{name}": TEXT for name, _ in ENVIRONMENTS},
    "kAPP_NAME": TEXT,
    "AnalyticsProductName": TEXT,
    **{name: COLOR for name in ("BG_COLOR", "PRIMARY_COLOR", "SECONDARY_COLOR")},
    **{name: ADDRESS for name in ("visitOnlineHelpSiteUrl", "downloadAndInstallLatestVersionUrl", "clickHereUrl")},
}
LONGEST_IDENTIFIER = 79  # what the launcher's trailer takes
ENTRY = re.compile(r'^("(?:[^"\\]|\\.)+")\s*=\s*("(?:[^"\\]|\\.)*")\s*;\s*$')


def _check(file, values, rules):
    for key in values:
        if key not in rules:
            near = difflib.get_close_matches(key, rules, 1)
            raise Failed(f"{file}: {key}: unknown" + (f"; is it {near[0]}?" if near else ""))
    for key, (pattern, sentence) in rules.items():
        if key not in values:
            raise Failed(f"{file}: {key}: missing")
        if not isinstance(values[key], str):
            raise Failed(f"{file}: {key}: has to be a text")
        if not re.fullmatch(pattern, values[key]):
            raise Failed(f"{file}: {key}: \"{values[key]}\" {sentence}")


def read_settings(folder):
    """The brand's settings, checked."""
    file = folder / "Info.plist"
    try:
        settings = plistlib.loads(file.read_bytes())
    except FileNotFoundError:
        raise Failed(f"{file}: missing") from None
    except (plistlib.InvalidFileException, xml.parsers.expat.ExpatError, ValueError) as error:
        raise Failed(f"{file}: no property list: {error}") from None
    if not isinstance(settings, dict) or not isinstance(settings.get("QNConfig"), dict):
        raise Failed(f"{file}: QNConfig: missing, or no dictionary")
    config = settings.pop("QNConfig")
    _check(file, settings, TOP)
    _check(file, config, SETTINGS)
    if len(settings["CFBundleIdentifier"]) > LONGEST_IDENTIFIER:
        raise Failed(f"{file}: CFBundleIdentifier: longer than {LONGEST_IDENTIFIER} letters")
    return {**settings, "QNConfig": config}


def _put_settings(settings, contents):
    path = contents / "Info.plist"
    info = plistlib.loads(path.read_bytes())
    identifier = settings["CFBundleIdentifier"]
    config = settings["QNConfig"]
    info.update({**settings, "CFBundleName": f"{config['kAPP_NAME']} Installer"})
    info["CFBundleURLTypes"][0].update({"CFBundleURLName": identifier,
                                        "CFBundleURLSchemes": [f"{config['QNPortalType']}d"]})
    path.write_bytes(plistlib.dumps(info))


def _without_comments(text):
    return re.sub(r"/\*.*?\*/", lambda comment: "\n" * comment.group().count("\n"), text, flags=re.S)


def _put_texts(table, target):
    if not target.exists():
        raise Failed(f"{table}: the installer does not speak this language")
    text = target.read_text(encoding="utf-8")
    for number, line in enumerate(_without_comments(table.read_text(encoding="utf-8")).splitlines(), 1):
        if not line.strip():
            continue
        entry = ENTRY.match(line.strip())
        if not entry:
            raise Failed(f"{table}: line {number}: not of the form \"KEY\" = \"text\";")
        key, value = entry.groups()
        text, count = re.subn(rf"^{re.escape(key)}\s*=.*$", lambda _: f"{key} = {value};", text, flags=re.M)
        if count != 1:
            raise Failed(f"{table}: {key}: the installer has no such text")
    target.write_text(text, encoding="utf-8")


def _put_picture(picture, resources):
    if picture.suffix != ".svg" or not (resources / f"{picture.stem}.png").exists():
        raise Failed(f"{picture}: the installer has no such picture")
    for scale, ending in ((1, ""), (2, "@2x"), (3, "@3x")):
        done = subprocess.run(["rsvg-convert", "--zoom", str(scale), "--output", resources / f"{picture.stem}{ending}.png",
                               picture], capture_output=True, text=True)
        if done.returncode != 0:
            raise Failed(f"{picture}: {done.stderr.strip()}")


def put_brand(folder, bundle):
    """Into the bundle, in place."""
    contents = bundle / "Contents"
    resources = contents / "Resources"
    _put_settings(read_settings(folder), contents)
    for table in sorted(folder.glob("*.lproj/Localizable.strings")):
        _put_texts(table, resources / table.relative_to(folder))
    for picture in sorted(folder.glob("images/*")):
        _put_picture(picture, resources)
    drawing = folder / "images/application_icon.svg"
    if drawing.exists() and (resources / "application_icon.icns").exists():  # macOS's bundle
        icon.make_icon(drawing, resources / "application_icon.icns")
    for font in sorted(folder.glob("fonts/*")):
        (resources / "Fonts").mkdir(exist_ok=True)
        shutil.copy(font, resources / "Fonts")


def folder_of(name, top):
    folder = pathlib.Path(top) / "portals" / name
    if not re.fullmatch(r"[a-z][a-z0-9-]*", name) or not folder.is_dir():
        raise Failed(f"portals/{name}: there is no such portal")
    return folder
