#include "hdiutil/front/AttachRecord.h"
#include "hdiutil/front/DaemonReport.h"
#include "hdiutil/front/Detach.h"
#include "hdiutil/front/MountTable.h"
#include "hdiutil/front/Progress.h"
#include "hdiutil/front/RecordText.h"

#include <gmock/gmock.h>

#include <random>

namespace hdi {
namespace {

AttachRecord anyRecord() {
    AttachRecord record;
    record.disk = 3;
    record.imagePath = "/tmp/with\ttab, line\nend and 100%.dmg";
    record.identity = {64769, 1234567890123, 42, -5, 1700000000123456789};
    record.method = AttachMethod::kExtracted;
    record.complete = false;
    record.process = {4711, 99999999999};
    record.owners = {{12, 345}, {67, 8901}};
    record.boot = "b007";
    record.damage = "a checksum";
    record.rows = {{"/dev/disk3", "GUID_partition_scheme", "", "", "", true},
                   {"/dev/disk3s1", "Apple_HFS", "/Volumes/\xC3\xA9 %41", "/run/x/\xC3\xA9 %41", "/tmp/d/x", false}};
    return record;
}

TEST(AttachRecord, ComesBackAsItWasWritten) {
    EXPECT_EQ(parseRecord(serialize(anyRecord())), anyRecord());
    AttachRecord other;
    other.disk = 2;
    EXPECT_EQ(parseRecord(serialize(other)), other);
}

TEST(AttachRecord, IsNoneWhenCutShortAnywhere) {
    const std::string text = serialize(anyRecord());
    for (std::size_t length = 0; length < text.size(); ++length) {
        EXPECT_EQ(parseRecord(text.substr(0, length)), std::nullopt) << length;
    }
}

TEST(AttachRecord, SurvivesGarbage) {
    std::mt19937_64 random(1);
    const std::string text = serialize(anyRecord());
    for (int i = 0; i < 5000; ++i) {
        std::string damaged = text;
        damaged[random() % damaged.size()] = static_cast<char>(random());
        (void)parseRecord(damaged); // any answer, but no crash
    }
    EXPECT_EQ(parseRecord("hdiutil-record 2\nend\n"), std::nullopt);
    EXPECT_EQ(parseRecord("garbage"), std::nullopt);
}

TEST(RecordText, HoldsLinesOfFieldsWithAnythingInThem) {
    const std::string text = "some-kind 1\nname\ta%09b%0Ac\t50%25\nempty\t\nend\n";
    const std::vector<Fields> lines{{"name", "a\tb\nc", "50%"}, {"empty", ""}};
    EXPECT_EQ(recordText("some-kind 1", lines), text);
    EXPECT_EQ(readRecordText("some-kind 1", text), lines);
    EXPECT_EQ(readRecordText("some-kind 2", text), std::nullopt);
    EXPECT_EQ(readRecordText("some-kind 1", text + "more\n"), std::nullopt);
}

TEST(DaemonReport, ComesBackAsItWasSent) {
    const DaemonReport report{DaemonReport::Kind::kAttached, "", anyRecord().rows, "licence\n5:x"};
    EXPECT_EQ(parseReport(serialize(report)), report);
    const DaemonReport failure{DaemonReport::Kind::kFailed, "attach failed - x", {}, ""};
    EXPECT_EQ(parseReport(serialize(failure)), failure);
}

TEST(DaemonReport, IsNoneWhenCutShortAnywhere) {
    const std::string bytes = serialize({DaemonReport::Kind::kAttached, "m", anyRecord().rows, "text"});
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        EXPECT_EQ(parseReport(bytes.substr(0, length)), std::nullopt) << length;
    }
}

TEST(DaemonReport, IsNoneWithoutItsResult) {
    EXPECT_EQ(parseReport("hdiutil-report 1\nend\n"), std::nullopt);
    EXPECT_EQ(parseReport("hdiutil-report 1\nrow\td\tc\ts\tr\td\tmade\nend\n"), std::nullopt);
    EXPECT_EQ(parseReport("hdiutil-report 1\nresult\tsplendid\t\t\nend\n"), std::nullopt);
}

TEST(MountTable, PadsItsColumnsAndPutsTheMountPointLast) {
    EXPECT_EQ(tableText({{"/dev/disk2", "GUID_partition_scheme", "", "", "", true},
                         {"/dev/disk2s1", "Apple_HFS", "/Volumes/My Installer", "/x", "", true}}),
              "/dev/disk2          \tGUID_partition_scheme          \t\n"
              "/dev/disk2s1        \tApple_HFS                      \t/Volumes/My Installer\n");
}

TEST(MountTable, CutsNothingThatIsTooLong) {
    const std::string content = "0FC63DAF-8483-4772-8E79-3D69D8477DE4";
    EXPECT_EQ(tableText({{"/dev/disk1234567s123456", content, "/Volumes/x", "/x", "", true}}),
              "/dev/disk1234567s123456\t" + content + "\t/Volumes/x\n");
}

TEST(DeviceName, IsReadWithAndWithoutItsFolder) {
    EXPECT_EQ(parseDeviceName("disk2")->disk, 2);
    EXPECT_EQ(parseDeviceName("/dev/disk12s3")->disk, 12);
    EXPECT_EQ(parseDeviceName("/dev/disk12s3")->slice, "s3");
    EXPECT_EQ(parseDeviceName("disk2s1s4")->slice, "s1s4");
    for (const char* text : {"", "disk", "disk0", "disk-1", "disk2x", "disk2s", "/dev/sda", "/disk2", "disk2 ", "2"}) {
        EXPECT_FALSE(parseDeviceName(text)) << text;
    }
}

TEST(Progress, DrawsABarOfFortyAndAPercentage) {
    EXPECT_EQ(progressLine("Creating", 0), "Creating: [" + std::string(40, '.') + "]   0%");
    EXPECT_EQ(progressLine("Creating", 50), "Creating: [" + std::string(20, '#') + std::string(20, '.') + "]  50%");
    EXPECT_EQ(progressLine("Creating", 100), "Creating: [" + std::string(40, '#') + "] 100%");
}

} // namespace
} // namespace hdi
