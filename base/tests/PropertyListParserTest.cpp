#include "base/PropertyListParser.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cstdint>
#include <cstdlib>
#include <string>

namespace base {
namespace {

std::string xml(const std::string& body) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\">" +
           body + "</plist>\n";
}

std::string repeated(const std::string& text, std::size_t count) {
    std::string all;
    for (std::size_t index = 0; index < count; ++index) {
        all += text;
    }
    return all;
}

std::string nested(std::size_t depth) {
    return xml(repeated("<array>", depth) + repeated("</array>", depth));
}

bool isRead(const std::string& bytes) {
    return parsePropertyList(bytes) != nullptr;
}

std::string textIn(const std::string& body) {
    const PropertyListNode root = parsePropertyList(xml(body));
    char* text = nullptr;
    if (root) {
        plist_get_string_val(root.get(), &text);
    }
    std::string copy = text == nullptr ? "(none)" : text;
    std::free(text);
    return copy;
}

std::string binaryOf(const std::string& body) {
    const PropertyListNode root = parsePropertyList(xml(body));
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root.get(), &bytes, &length);
    std::string binary(bytes, length);
    std::free(bytes);
    return binary;
}

std::string bigEndian(std::uint64_t value, int bytes) {
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
        text += static_cast<char>(value >> shift & 0xFF);
    }
    return text;
}

// A binary list of arrays, each holding `fanOut` references to the next one; the last object is a small integer.
std::string chainOfArrays(std::uint64_t length, int fanOut) {
    std::string bytes = "bplist00";
    std::string offsets;
    for (std::uint64_t index = 0; index < length; ++index) {
        offsets += bigEndian(bytes.size(), 4);
        bytes += static_cast<char>(0xA0 | fanOut);
        bytes += repeated(bigEndian(index + 1, 4), static_cast<std::size_t>(fanOut));
    }
    offsets += bigEndian(bytes.size(), 4);
    bytes += "\x10\x01";
    const std::uint64_t table = bytes.size();
    return bytes + offsets + std::string(6, '\0') + "\4\4" + bigEndian(length + 1, 8) + bigEndian(0, 8) +
           bigEndian(table, 8);
}

const std::string kSample = "<dict><key>text</key><string>a &amp; b</string><key>yes</key><true/>"
                            "<key>list</key><array><string>x</string></array><key>empty</key><dict/></dict>";

TEST(PropertyListParser, ReadsXmlAndBinary) {
    for (const std::string& bytes : {xml(kSample), "\n " + xml(kSample), binaryOf(kSample)}) {
        const PropertyListNode root = parsePropertyList(bytes);
        ASSERT_TRUE(root);
        EXPECT_EQ(plist_dict_get_size(root.get()), 4U);
    }
}

// Newer versions of the library would read some of them.
TEST(PropertyListParser, ReadsNoOtherForm) {
    for (const std::string bytes : {"", "  ", "garbage", "{\"a\": 1}", "[1]", "{ a = b; }", "( a, b )", "\"text\"",
                                    "// !$*UTF8*$!\n{ a = b; }", "bplist", "bplist15"}) {
        EXPECT_FALSE(isRead(bytes)) << bytes;
    }
}

TEST(PropertyListParser, RefusesEveryTruncation) {
    for (const std::string& whole : {xml(kSample), binaryOf(kSample)}) {
        const std::size_t end = std::min(whole.size(), whole.find("</plist>") + 8);
        for (std::size_t length = 0; length < end; ++length) {
            EXPECT_FALSE(isRead(whole.substr(0, length))) << length;
        }
    }
}

TEST(PropertyListParser, SurvivesEveryChangedByte) {
    for (const std::string& whole : {xml(kSample), binaryOf(kSample)}) {
        for (std::size_t at = 0; at < whole.size(); ++at) {
            for (const char changed : {'\0', '"', '/', '<', '>', '\x7F', '\xA1', '\xDF', '\xFF'}) {
                std::string bytes = whole;
                bytes[at] = changed;
                parsePropertyList(bytes); // any answer, but no crash
            }
        }
    }
}

TEST(PropertyListParser, RefusesInputAboveSixteenMebibytes) {
    const std::string list = xml("<true/>");
    const std::size_t largest = std::size_t{16} * 1024 * 1024;
    EXPECT_TRUE(isRead(list + std::string(largest - list.size(), ' ')));
    EXPECT_FALSE(isRead(list + std::string(largest - list.size() + 1, ' ')));
}

TEST(PropertyListParser, RefusesXmlNestedDeeperThanItsBoundAndTakesWhatIsWithin) {
    EXPECT_TRUE(isRead(nested(128)));
    EXPECT_FALSE(isRead(nested(129)));
    EXPECT_FALSE(isRead(nested(200'000)));
}

// What closes inside them closes nothing. The lists are whole, so that only their depth can be the reason.
TEST(PropertyListParser, IsNotFooledByClosingTagsInsideCommentsTextsOrDeclarations) {
    for (const std::string disguise :
         {"<!-- </array> -->", "<![CDATA[</array>]]>", "<? </array> ?>", "<!DOCTYPE x [ </array> ]>",
          "<!DOCTYPE x \"></array>\">", "<? \"?></array>\" ?>", "<array x=\"</array>\"></array>",
          "<array x=\"/>\"></array>"}) {
        const std::string body = repeated("<array>" + disguise, 200) + repeated("</array>", 200);
        EXPECT_FALSE(isSafePropertyList(xml(body))) << disguise;
    }
    const std::string quoted = repeated("<array x=\"/>\">", 200'000) + repeated("</array>", 200'000);
    EXPECT_FALSE(isRead(xml(quoted)));
}

TEST(PropertyListParser, KeepsWhatRealListsHoldReadable) {
    EXPECT_EQ(textIn("<string>a&#8217;b &#x2019; &amp;</string>"), "a\u2019b \u2019 &");
    EXPECT_EQ(textIn("<!-- <key>no more</key> \" --><string>a</string>"), "a");
    EXPECT_EQ(textIn("<string><![CDATA[a <b> &amp;]]></string>"), "a <b> &amp;");
    EXPECT_EQ(textIn("<string lang=\"en\">a \"b\"</string>"), "a \"b\"");
}

TEST(PropertyListParser, RefusesWhatCouldBeReadInTwoWays) {
    for (const std::string bytes :
         {"<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><true/></plist>", "<!DOCTYPE plist [ ]><plist><true/></plist>",
          "<!ENTITY a \"b\"><plist><true/></plist>", "<plist a=\"</array>\">", "<plist", "<plist><true/>",
          "<!-- never closed", "</plist>", "<plist><true/></plist></plist>"}) {
        EXPECT_FALSE(isSafePropertyList(bytes)) << bytes;
    }
}

TEST(PropertyListParser, DoesNotExpandEntityBombs) {
    std::string bomb = "<?xml version=\"1.0\"?><!DOCTYPE plist [<!ENTITY a \"aaaaaaaaaa\">";
    for (char name = 'b'; name <= 'j'; ++name) {
        const std::string before = std::string("&") + static_cast<char>(name - 1) + ";";
        bomb += std::string("<!ENTITY ") + name + " \"" + repeated(before, 10) + "\">";
    }
    EXPECT_FALSE(isRead(bomb + "]><plist version=\"1.0\"><string>&j;</string></plist>"));
}

TEST(PropertyListParser, RefusesNulsInsideXmlTexts) {
    for (const std::string& text : {std::string("a\0b", 3), std::string("a&#0;b"), std::string("a&#x0;b"),
                                    std::string("a&#000;b"), std::string("a&#X00;b"), std::string("a&#;b")}) {
        EXPECT_FALSE(isRead(xml("<string>" + text + "</string>"))) << text;
        EXPECT_FALSE(isRead(xml("<dict><key>" + text + "</key><true/></dict>"))) << text;
    }
}

TEST(PropertyListParser, RefusesNulsInsideBinaryTexts) {
    const std::string plain =
        binaryOf("<dict><key>word</key><string>text</string><key>u</key><string>ü1</string></dict>");
    ASSERT_TRUE(isRead(plain));
    for (const std::string& part : {std::string("ord"), std::string("ext"), std::string("\0001", 2)}) {
        std::string damaged = plain;
        const std::size_t at = damaged.find(part);
        ASSERT_NE(at, std::string::npos);
        damaged[at + part.size() - 1] = '\0';
        EXPECT_FALSE(isRead(damaged)) << part;
    }
}

TEST(PropertyListParser, RefusesABinaryListNestedDeeperThanItsBound) {
    EXPECT_TRUE(isRead(chainOfArrays(128, 1)));
    EXPECT_FALSE(isRead(chainOfArrays(129, 1)));
    EXPECT_FALSE(isRead(chainOfArrays(200'000, 1)));
}

TEST(PropertyListParser, RefusesABinaryListThatMultipliesItself) {
    EXPECT_FALSE(isRead(chainOfArrays(60, 2)));
}

} // namespace
} // namespace base
