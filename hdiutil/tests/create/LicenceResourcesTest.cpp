#include "hdiutil/create/LicenceResources.h"
#include "hdiutil/image/Licence.h"
#include "hdiutil/tests/image/TestBytes.h"

#include <gmock/gmock.h>

namespace hdi::test {
namespace {

TEST(LicenceResources, GiveTheTextBack) {
    for (const char* const text : {"You may.", "One\nTwo\n\nThree\n", "Braces {a} and \\ too",
                                   "\xC2\xA9 M\xC3\xBCller \xE6\x97\xA5\xE6\x9C\xAC\n{\\x} end"}) {
        EXPECT_THAT(licenceTexts(licenceResources(text)), testing::ElementsAre(text));
    }
}

TEST(LicenceResources, TakeLineEndsOfAllSystems) {
    EXPECT_THAT(licenceTexts(licenceResources("a\r\nb\rc\n")), testing::ElementsAre("a\nb\nc\n"));
}

// What macOS looks for before it shows the window.
TEST(LicenceResources, NameTheLanguageAndTheButtons) {
    const Resources resources = licenceResources("text");
    EXPECT_EQ(resources.at("LPic").front().id, 5000);
    EXPECT_EQ(resources.at("LPic").front().data, bytesOf({"\0\0\0\1\0\0\0\0\0\0", 10}));
    EXPECT_EQ(resources.at("STR#").front().id, 5000);
    const Bytes& texts = resources.at("STR#").front().data;
    EXPECT_EQ(Bytes(texts.begin(), texts.begin() + 16), bytesOf({"\0\x09\x07"
                                                                 "English"
                                                                 "\x05"
                                                                 "Agree",
                                                                 16}));
    EXPECT_EQ(resources.at("TEXT").front().data, bytesOf("text"));
}

TEST(LicenceResources, RefuseWhatIsNoText) {
    for (const std::string& text : {std::string(), std::string("\xFF"), std::string((1U << 20U) + 1, 'x')}) {
        EXPECT_EQ(errorOf([&] { licenceResources(text); }), ImageError::Kind::kUnsupported);
    }
}

} // namespace
} // namespace hdi::test
