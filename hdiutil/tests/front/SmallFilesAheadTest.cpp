#include "hdiutil/front/SmallFilesAhead.h"

#include <gmock/gmock.h>

namespace hdi {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr NodeId kFolder = 2;

// Files 100, 101, …
std::shared_ptr<const SmallFilesAhead::Listing> files(std::size_t count) {
    auto listing = std::make_shared<SmallFilesAhead::Listing>();
    for (std::size_t i = 0; i < count; ++i) {
        listing->push_back({"file " + std::to_string(i), 100 + i});
    }
    return listing;
}

TEST(SmallFilesAhead, GivesTheNextOnesWhenTwoFollowOnEachOther) {
    SmallFilesAhead ahead;
    ahead.listed(kFolder, files(5));
    EXPECT_THAT(ahead.following(100), IsEmpty());
    EXPECT_THAT(ahead.following(101), ElementsAre(102, 103, 104));
}

TEST(SmallFilesAhead, GivesABatchAtATimeAndEachFileOnce) {
    SmallFilesAhead ahead;
    ahead.listed(kFolder, files(200));
    ahead.following(100);
    EXPECT_THAT(ahead.following(101), SizeIs(SmallFilesAhead::kBatch));
    EXPECT_THAT(ahead.following(102), IsEmpty()); // asked for before it was there
    const std::vector<NodeId> next = ahead.following(166);
    ASSERT_THAT(next, SizeIs(SmallFilesAhead::kBatch));
    EXPECT_EQ(next.front(), 167U);
    EXPECT_THAT(ahead.following(231), SizeIs(64));
    EXPECT_THAT(ahead.following(296), ElementsAre(297, 298, 299)); // the last
}

TEST(SmallFilesAhead, GivesNothingToWhoReadsHereAndThere) {
    SmallFilesAhead ahead;
    ahead.listed(kFolder, files(200));
    for (const NodeId file : {150U, 110U, 190U, 120U, 170U}) {
        EXPECT_THAT(ahead.following(file), IsEmpty()) << file;
    }
    EXPECT_THAT(ahead.following(7), IsEmpty()); // of no folder that was listed
}

TEST(SmallFilesAhead, BeginsAnewWhenAFolderIsListedAgain) {
    SmallFilesAhead ahead;
    for (int i = 0; i < 2; ++i) {
        ahead.listed(kFolder, files(4));
        EXPECT_THAT(ahead.following(100), IsEmpty());
        EXPECT_THAT(ahead.following(101), ElementsAre(102, 103));
    }
}

TEST(SmallFilesAhead, KeepsSeveralFoldersApart) {
    SmallFilesAhead ahead;
    ahead.listed(kFolder, files(4));
    auto others = std::make_shared<SmallFilesAhead::Listing>();
    others->push_back({"other", 900});
    others->push_back({"another", 901});
    others->push_back({"third", 902});
    ahead.listed(3, others);
    EXPECT_THAT(ahead.following(100), IsEmpty());
    EXPECT_THAT(ahead.following(900), IsEmpty());
    EXPECT_THAT(ahead.following(101), ElementsAre(102, 103));
    EXPECT_THAT(ahead.following(901), ElementsAre(902));
}

} // namespace
} // namespace hdi
