#include "hdiutil/front/Arguments.h"

#include <gmock/gmock.h>

namespace hdi {
namespace {

using testing::HasSubstr;

TEST(Arguments, AttachAndMountAreOne) {
    for (const char* word : {"attach", "mount"}) {
        const Arguments arguments = parseArguments({word, "image.dmg"});
        EXPECT_EQ(arguments.verb, Verb::kAttach);
        EXPECT_EQ(arguments.operand, "image.dmg");
        EXPECT_TRUE(arguments.verify);
        EXPECT_EQ(arguments.mountPoint, std::nullopt);
    }
}

TEST(Arguments, OptionsMayStandOnBothSidesOfTheImage) {
    const Arguments arguments = parseArguments(
        {"attach", "-noverify", "-mountpoint", "/a b", "image.dmg", "-quiet", "-plist", "-readonly", "-nobrowse"});
    EXPECT_EQ(arguments.operand, "image.dmg");
    EXPECT_EQ(arguments.mountPoint, "/a b");
    EXPECT_FALSE(arguments.verify);
    EXPECT_TRUE(arguments.quiet);
    EXPECT_TRUE(arguments.plist);
}

TEST(Arguments, DetachAndEjectAreOne) {
    for (const char* word : {"detach", "eject"}) {
        const Arguments arguments = parseArguments({word, "-force", "/Volumes/My Installer"});
        EXPECT_EQ(arguments.verb, Verb::kDetach);
        EXPECT_EQ(arguments.operand, "/Volumes/My Installer");
        EXPECT_TRUE(arguments.force);
    }
    EXPECT_EQ(parseArguments({"unmount", "disk2s1"}).verb, Verb::kUnmount);
}

TEST(Arguments, CreateTakesAllItsOptions) {
    const Arguments arguments = parseArguments({"create", "-srcfolder", "in", "-volname", "My Vol", "-format", "ULFO",
                                                "-fs", "HFSX", "-layout", "SPUD", "out.dmg"});
    EXPECT_EQ(arguments.verb, Verb::kCreate);
    EXPECT_EQ(arguments.operand, "out.dmg");
    EXPECT_EQ(arguments.create.sourceFolder, "in");
    EXPECT_EQ(arguments.create.volumeName, "My Vol");
    EXPECT_EQ(arguments.create.format, RunType::kLzfse);
    EXPECT_EQ(arguments.create.fileSystem, "HFSX");
    EXPECT_EQ(arguments.create.layout, "SPUD");
}

TEST(Arguments, CreateHasDefaults) {
    const CreateOptions create = parseArguments({"create", "-srcfolder", "in", "-volname", "V", "out.dmg"}).create;
    EXPECT_EQ(create.format, RunType::kZlib);
    EXPECT_EQ(create.fileSystem, "HFS+");
    EXPECT_EQ(create.layout, "GPTSPUD");
    EXPECT_FALSE(create.replace);
}

struct Mistake {
    std::vector<std::string> words;
    const char* message;
};

const Mistake kMistakes[] = {
    {{}, "no verb given"},
    {{"burn"}, "\"burn\" is not a verb"},
    {{"mount"}, "mount: no image given"},
    {{"mount", ""}, "mount: an argument is empty"},
    {{"mount", "a", "b"}, "mount: \"b\" is one argument too many"},
    {{"mount", "-verbose", "a"}, "mount: unknown option \"-verbose\""},
    {{"mount", "a", "-mountpoint"}, "-mountpoint: needs a value"},
    {{"detach"}, "detach: no device or mount point given"},
    {{"detach", "-plist", "disk2"}, "detach: unknown option \"-plist\""},
    {{"info", "a"}, "info: \"a\" is one argument too many"},
    {{"create", "-volname", "v", "o"}, "create: -srcfolder is missing"},
    {{"create", "-srcfolder", "s", "o"}, "create: -volname is missing"},
    {{"create", "-srcfolder", "s", "-volname", "v"}, "create: no image given"},
    {{"create", "-srcfolder", "s", "-volname", "v", "-"},
     "create: an image cannot be written to standard output, only to a file"},
    {{"create", "-srcfolder", "s", "-volname", "v", "-o", "-"},
     "create: an image cannot be written to standard output, only to a file"},
    {{"create", "-size", "20"}, "-size: \"20\" is no size such as 512k, 20m or 1g"},
    {{"create", "-size", "m"}, "-size: \"m\" is no size such as 512k, 20m or 1g"},
    {{"create", "-size", "0g"}, "-size: \"0g\" is no size such as 512k, 20m or 1g"},
    {{"create", "-size", "20mb"}, "-size: \"20mb\" is no size such as 512k, 20m or 1g"},
    {{"create", "-size", "9999999t"}, "-size: \"9999999t\" is no size such as 512k, 20m or 1g"},
    {{"create", "-o", "a", "b"}, "create: \"b\" is one argument too many"},
    {{"create", "-encryption", "AES-192"}, "-encryption: \"AES-192\" is not one of the known values"},
    {{"convert", "a", "-o", "b"}, "convert: -format is missing"},
    {{"convert", "a", "-format", "UDZO"}, "convert: -o is missing"},
    {{"convert", "-format", "UDZO", "-o", "b"}, "convert: no image given"},
    {{"convert", "a", "-format", "UDCO", "-o", "b"}, "-format: \"UDCO\" is not one of the known values"},
    {{"convert", "a", "-format", "UDZO", "-o", "-"},
     "convert: an image cannot be written to standard output, only to a file"},
    {{"extract", "a"}, "extract: no folder given"},
    {{"extract", "a", "b", "c"}, "extract: \"c\" is one argument too many"},
    {{"create", "-format", "UDTO"}, "-format: \"UDTO\" is not one of the known values"},
    {{"create", "-fs", "APFS"}, "-fs: \"APFS\" is not one of the known values"},
    {{"create", "-layout", "MBR"}, "-layout: \"MBR\" is not one of the known values"},
};

TEST(Arguments, EachMistakeIsNamed) {
    for (const Mistake& mistake : kMistakes) {
        try {
            parseArguments(mistake.words);
            FAIL() << mistake.message;
        } catch (const UsageError& error) {
            EXPECT_STREQ(error.what(), mistake.message);
            EXPECT_EQ(error.status(), 64);
        }
    }
}

TEST(Arguments, HelpNamesTheFormatsThatImagesAreMadeWith) {
    EXPECT_THAT(helpText(), HasSubstr("      -format UDRO|UDZO|UDBZ|ULMO|ULFO   (UDZO)\n"));
    EXPECT_EQ(parseArguments({"create", "-srcfolder", "in", "-volname", "V", "-format", "ULMO", "out"}).create.format,
              RunType::kLzma);
    EXPECT_THROW(parseArguments({"create", "-srcfolder", "in", "-volname", "V", "-format", "UDCO", "out"}), UsageError);
}

TEST(Arguments, SizesAreInBytes) {
    const auto sizeOf = [](const char* text) {
        return parseArguments({"create", "-size", text, "-volname", "V", "out"}).create.size;
    };
    EXPECT_EQ(sizeOf("8b"), 4096U);
    EXPECT_EQ(sizeOf("512k"), 524288U);
    EXPECT_EQ(sizeOf("20m"), 20971520U);
    EXPECT_EQ(sizeOf("3g"), 3221225472U);
    EXPECT_EQ(sizeOf("2t"), 2199023255552U);
}

TEST(Arguments, HelpNamesEveryVerb) {
    for (const char* verb : {"attach", "mount", "detach", "eject", "unmount", "info", "imageinfo", "verify", "create",
                             "convert", "extract"}) {
        EXPECT_THAT(helpText(), HasSubstr(verb));
    }
}

} // namespace
} // namespace hdi
