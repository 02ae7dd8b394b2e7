#include "hdiutil/image/UdifPlist.h"
#include "hdiutil/tests/image/TestImage.h"

#include <gtest/gtest.h>

namespace hdi::test {

namespace {

std::string nested(int depth) {
    std::string xml;
    for (int i = 0; i < depth; ++i) {
        xml += "<array>";
    }
    for (int i = 0; i < depth; ++i) {
        xml += "</array>";
    }
    return xml;
}

std::string plistOf(const std::string& fork) {
    return "<?xml version=\"1.0\"?>\n<plist version=\"1.0\"><dict><key>resource-fork</key>" + fork +
           "</dict></plist>\n";
}

auto errorOfPlist(const std::string& xml) {
    return errorOf([&] { parseUdifPlist(bytesOf(xml)); });
}

} // namespace

TEST(UdifPlist, GivesResourcesByType) {
    const std::string xml = plistOf("<dict><key>TEXT</key><array><dict><key>ID</key><string>5002</string><key>Name</"
                                    "key><string>English &amp; more</string><key>Data</key><data>YWJj</data></dict></"
                                    "array><key>blkx</key><array/></dict>");
    const Resources resources = parseUdifPlist(bytesOf(xml));
    ASSERT_EQ(resources.size(), 2U);
    ASSERT_EQ(resources.at("TEXT").size(), 1U);
    EXPECT_EQ(resources.at("TEXT")[0].id, 5002);
    EXPECT_EQ(resources.at("TEXT")[0].name, "English & more");
    EXPECT_EQ(resources.at("TEXT")[0].data, bytesOf("abc"));
    EXPECT_TRUE(resources.at("blkx").empty());
}

TEST(UdifPlist, RefusesWhatIsNoResourceFork) {
    for (const std::string& xml :
         {std::string(), std::string("garbage"), std::string("<plist>"), plistOf("<string>a</string>"),
          plistOf("<dict><key>blkx</key><array><string>a</string></array></dict>"),
          plistOf("<dict><key>blkx</key><array><dict/></array></dict>"), std::string("<plist><array/></plist>"),
          std::string("<plist><dict/></plist>")}) {
        EXPECT_EQ(errorOfPlist(xml), ImageError::Kind::kDamaged) << xml;
    }
}

TEST(UdifPlist, RefusesWhatIsNestedTooDeep) {
    EXPECT_EQ(errorOfPlist("<plist>" + nested(200000) + "</plist>"), ImageError::Kind::kDamaged);
}

TEST(UdifPlist, RefusesEveryTruncation) {
    TestImage image;
    image.addTable(0, 1);
    image.addRun(RunType::kZero, 0, 1);
    const Bytes xml = image.plist();
    const std::string_view text(reinterpret_cast<const char*>(xml.data()), xml.size());
    const std::size_t end = text.find("</plist>");
    for (std::size_t size = 0; size < end; ++size) {
        EXPECT_EQ(errorOfPlist(std::string(text.substr(0, size))), ImageError::Kind::kDamaged) << size;
    }
}

} // namespace hdi::test
