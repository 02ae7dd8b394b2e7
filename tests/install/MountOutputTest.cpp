#include "install/MountOutput.h"
#include "platform/base/PlatformException.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using MountOutput::onlyApplication;
using MountOutput::textBehindVolumes;
using MountOutput::volumeName;

namespace {

QString nameIn(const QString& output) {
    return volumeName(textBehindVolumes(output));
}

} // namespace

TEST(MountOutput, TakesTheVolumeFromTheLastColumnOfTheTable) {
    EXPECT_EQ(nameIn(u"/dev/disk4          \tGUID_partition_scheme          \t\n"
                     "/dev/disk4s1        \tApple_HFS                      \t/Volumes/Sample\n"_s),
              u"Sample"_s);
}

TEST(MountOutput, KeepsBlanksInsideTheVolumeName) {
    EXPECT_EQ(nameIn(u"/dev/disk4s1\tApple_HFS\t/Volumes/My Installer\n"_s), u"My Installer"_s);
}

TEST(MountOutput, TakesTheFirstOfSeveralVolumes) {
    EXPECT_EQ(nameIn(u"a\t/Volumes/One\nb\t/Volumes/Two\n"_s), u"One"_s);
}

TEST(MountOutput, IgnoresTextsBeforeTheTable) {
    EXPECT_EQ(nameIn(u"LICENCE\nYou agree.\n/dev/disk4s1\tApple_HFS\t/Volumes/N"_s), u"N"_s);
}

TEST(MountOutput, TrimsBlanksAndTabsAtTheEndsOfTheTextOnly) {
    EXPECT_EQ(textBehindVolumes(u"/Volumes/ \t Name \t\n \t"_s), u"Name \t\n"_s);
    EXPECT_EQ(textBehindVolumes(u"/Volumes/Name \t"_s), u"Name"_s);
}

TEST(MountOutput, IsEmptyWhenOnlyBlanksFollow) {
    EXPECT_EQ(textBehindVolumes(u"x\t/Volumes/ \t "_s), u""_s);
    EXPECT_EQ(textBehindVolumes(u"/Volumes/"_s), u""_s);
}

TEST(MountOutput, HasNoVolumeNameWhenALineEndFollowsFirst) {
    EXPECT_EQ(textBehindVolumes(u"/Volumes/ \nName\n"_s), u"\nName\n"_s);
    EXPECT_EQ(volumeName(u"\nName\n"_s), u""_s);
}

TEST(MountOutput, RaisesARangeErrorWithoutAVolume) {
    try {
        textBehindVolumes(u"no volumes\n"_s);
        FAIL() << "nothing was raised";
    } catch (const PlatformException& exception) {
        EXPECT_EQ(exception.name(), u"NSRangeException"_s);
        EXPECT_EQ(exception.reason(), u"*** -[__NSCFString substringFromIndex:]: Index 9223372036854775807 out of "
                                      "bounds; string length 11"_s);
    }
}

TEST(OnlyApplication, IsTheOneEntryWithTheSuffix) {
    EXPECT_EQ(onlyApplication({u"Extras"_s, u"Setup.app"_s, u".DS_Store"_s}), u"Setup.app"_s);
}

TEST(OnlyApplication, IsAbsentForNoneAndForMoreThanOne) {
    EXPECT_EQ(onlyApplication({}), std::nullopt);
    EXPECT_EQ(onlyApplication({u"Extras"_s}), std::nullopt);
    EXPECT_EQ(onlyApplication({u"Setup.app"_s, u"Uninstall.app"_s}), std::nullopt);
}

TEST(OnlyApplication, ComparesTheSuffixToTheLetter) {
    EXPECT_EQ(onlyApplication({u"Setup.APP"_s}), std::nullopt);
    EXPECT_EQ(onlyApplication({u"Setup.app "_s}), std::nullopt);
    EXPECT_EQ(onlyApplication({u"Setup.apple"_s}), std::nullopt);
    EXPECT_EQ(onlyApplication({u".app"_s}), u".app"_s);
    EXPECT_EQ(onlyApplication({u"._Setup.app"_s, u"Setup.app"_s}), std::nullopt);
}
