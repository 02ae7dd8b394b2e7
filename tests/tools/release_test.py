#!/usr/bin/env python3
"""What ./release tells of what is inside."""

import json
import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tools/release"))
import contents  # noqa: E402
import debian  # noqa: E402

MAP = """Archive member included to satisfy reference by file (symbol)

/usr/lib/x86_64-linux-gnu/libz.a(inflate.o)
                              /kept/opt/lib/libQt6Core.a(qzip.cpp.o) (inflateInit_)
/kept/opt/lib/libQt6Core.a(qstring.cpp.o)
                              app/main.cpp.o (QString::QString())
/usr/lib/x86_64-linux-gnu/libz.a(crc32.o)
                              /usr/lib/x86_64-linux-gnu/libz.a(inflate.o) (crc32)
"""


class FakeArchive:
    def __init__(self, versions):
        self.versions = versions

    def version(self, package):
        return self.versions[package]


class ContentsTest(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="release-")
        self.addCleanup(self.folder.cleanup)
        self.path = pathlib.Path(self.folder.name)

    def bill(self):
        file = self.path / "QNInstaller"
        file.write_bytes(b"abc")
        parts = [contents.Part("zlib", "1:1.2.13", "zlib's text"), contents.Part("libpng1.6", "1.6.39-2", "png's text")]
        return parts, contents.bill_of_materials(parts, [file], "1.0.0", "2026-01-02T03:04:05Z")

    def test_reads_each_archive_of_a_map_once(self):
        path = self.path / "a.map"
        path.write_text(MAP)
        self.assertEqual([str(each) for each in contents.archives([path, path])],
                         ["/kept/opt/lib/libQt6Core.a", "/usr/lib/x86_64-linux-gnu/libz.a"])

    def test_takes_version_and_licence_of_what_was_built_from_where_it_was_built(self):
        libraries = self.path / "opt/qninstaller-toolkit"
        libraries.mkdir(parents=True)
        (self.path / "qt6-base.done").write_text("6.4.2-10\n")
        (self.path / "qt6-base.copyright").write_text("Qt's text")
        part = contents._of_toolkit("libQt6Core.a", libraries)
        self.assertEqual((part.source, part.version, part.copyright_text), ("qt6-base", "6.4.2-10", "Qt's text"))
        with self.assertRaisesRegex(contents.Failed, "Nothing says where libother.a comes from"):
            contents._of_toolkit("libother.a", libraries)

    def test_writes_every_part_with_its_licence_into_the_notices(self):
        text = contents.notices(self.bill()[0])
        self.assertLess(text.index("zlib 1:1.2.13\n"), text.index("zlib's text"))
        self.assertLess(text.index("libpng1.6 1.6.39-2\n"), text.index("png's text"))

    def test_names_every_part_in_the_bill_of_materials(self):
        bill = json.loads(self.bill()[1])
        self.assertEqual(bill["spdxVersion"], "SPDX-2.3")
        product, zlib, png = bill["packages"]
        self.assertEqual(product["checksums"][0]["checksumValue"],
                         "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad")
        self.assertEqual(zlib["externalRefs"][0]["referenceLocator"], "pkg:deb/debian/zlib@1:1.2.13?arch=source")
        self.assertEqual((png["name"], png["versionInfo"]), ("libpng1.6", "1.6.39-2"))
        self.assertEqual([each["relatedSpdxElement"] for each in bill["relationships"]],
                         ["SPDXRef-Product", "SPDXRef-Package-zlib", "SPDXRef-Package-libpng1.6"])

    def test_tells_what_debian_has_a_newer_version_of(self):
        now = FakeArchive({"zlib": "1:1.2.13", "libpng1.6": "1.6.39-2+deb12u1"})
        self.assertEqual(contents.outdated(self.bill()[1], now), [("libpng1.6", "1.6.39-2", "1.6.39-2+deb12u1")])
        self.assertEqual(contents.outdated(self.bill()[1], FakeArchive({"zlib": "1:1.2.13", "libpng1.6": "1.6.39-2"})), [])


class SourceEntriesTest(unittest.TestCase):
    def test_keys_differ_with_each_text(self):
        self.assertNotEqual(debian.text_hash("a", "bc"), debian.text_hash("ab", "c"))
        self.assertEqual(debian.text_hash("a", "bc"), debian.text_hash("a", "bc"))


if __name__ == "__main__":
    unittest.main()
