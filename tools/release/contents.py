"""What is inside a release, as the linker tells it, and what follows from that: notices, a bill of materials, an audit."""

import hashlib
import json
import pathlib
import re
import subprocess

from steps import Failed

# Of what the linker does not see: fonts, and libraries that are headers alone.
OTHER_PACKAGES = ("fonts-inter", "fonts-noto-core", "fonts-noto-cjk", "nlohmann-json3-dev")
TOOLKIT_SOURCES = {"libQt6": "qt6-base", "libqxcb": "qt6-base", "libcurl": "curl", "libplist": "libplist",
                   "libxkbcommon": "libxkbcommon"}


class Part:
    """A source package of Debian of which something is inside."""

    def __init__(self, source, version, copyright_text):
        self.source = source
        self.version = version
        self.copyright_text = copyright_text


def _ask_dpkg(*command):
    done = subprocess.run(["dpkg-query", *command], capture_output=True, text=True)
    if done.returncode != 0:
        raise Failed(f"dpkg-query {' '.join(command)}: {done.stderr.strip()}")
    return done.stdout


def _of_package(package):
    source, version = _ask_dpkg("-W", "-f", "${source:Package} ${source:Version}\n", package).splitlines()[0].split()
    text = pathlib.Path(f"/usr/share/doc/{package.split(':')[0]}/copyright").read_text(encoding="utf-8", errors="replace")
    return Part(source, version, text)


def _of_toolkit(name, libraries):
    kept = libraries.parents[1]
    for beginning, source in TOOLKIT_SOURCES.items():
        if name.startswith(beginning):
            return Part(source, (kept / f"{source}.done").read_text().strip(),
                        (kept / f"{source}.copyright").read_text(encoding="utf-8", errors="replace"))
    raise Failed(f"Nothing says where {name} comes from")


def archives(maps):
    """The archives of which the linker took something, from its maps."""
    found = set()
    for path in maps:
        found.update(re.findall(r"^(/\S+\.a)\(", path.read_text(errors="replace"), flags=re.M))
    return sorted(map(pathlib.Path, found))


def parts_inside(maps, build, libraries):
    """By source package, sorted."""
    parts = {}
    for archive in archives(maps):
        resolved = archive.resolve()
        if resolved.is_relative_to(build.resolve()):
            continue
        if resolved.is_relative_to(libraries.resolve()):
            part = _of_toolkit(resolved.name, libraries)
        else:
            part = _of_package(_ask_dpkg("-S", str(resolved)).split(": ")[0])
        parts[part.source] = part
    for package in OTHER_PACKAGES:
        part = _of_package(package)
        parts[part.source] = part
    return [parts[source] for source in sorted(parts)]


def notices(parts):
    """One text with the licences of everything inside."""
    texts = ["This program contains parts of the following, each as Debian distributes it, under the licences below.\n"]
    texts += [f"{'=' * 78}\n{part.source} {part.version}\n{'=' * 78}\n\n{part.copyright_text.strip()}\n" for part in parts]
    return "\n".join(texts)


def bill_of_materials(parts, files, version, created):
    """SPDX 2.3 as JSON."""
    def package(identifier, name, number, **more):
        return {"SPDXID": f"SPDXRef-{identifier}", "name": name, "versionInfo": number, "downloadLocation": "NOASSERTION",
                "filesAnalyzed": False, "licenseConcluded": "NOASSERTION", "licenseDeclared": "NOASSERTION",
                "copyrightText": "NOASSERTION", **more}

    inside = [package(f"Package-{re.sub('[^A-Za-z0-9.-]', '-', part.source)}", part.source, part.version,
                      supplier="Organization: Debian",
                      externalRefs=[{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl",
                                     "referenceLocator": f"pkg:deb/debian/{part.source}@{part.version}?arch=source"}])
              for part in parts]
    digest = hashlib.sha256(b"".join(path.read_bytes() for path in files)).hexdigest()
    product = package("Product", "QNInstaller", version,
                      checksums=[{"algorithm": "SHA256", "checksumValue": hashlib.sha256(files[0].read_bytes()).hexdigest()}])
    relations = [{"spdxElementId": "SPDXRef-DOCUMENT", "relationshipType": "DESCRIBES",
                  "relatedSpdxElement": "SPDXRef-Product"}]
    relations += [{"spdxElementId": "SPDXRef-Product", "relationshipType": "CONTAINS", "relatedSpdxElement": each["SPDXID"]}
                  for each in inside]
    return json.dumps({"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
                       "name": f"QNInstaller-{version}",
                       "documentNamespace": f"https://portal.example.com/spdx/QNInstaller-{version}-{digest[:16]}",
                       "creationInfo": {"created": created, "creators": ["Tool: release"]},
                       "packages": [product, *inside], "relationships": relations}, indent=1) + "\n"


def outdated(bill, archive):
    """Sources of which Debian has a newer version than the bill of materials names: name, inside, now."""
    found = []
    for package in json.loads(bill)["packages"]:
        if not package.get("supplier"):
            continue
        now = archive.version(package["name"])
        if subprocess.run(["dpkg", "--compare-versions", now, "gt", package["versionInfo"]]).returncode == 0:
            found.append((package["name"], package["versionInfo"], now))
    return found
