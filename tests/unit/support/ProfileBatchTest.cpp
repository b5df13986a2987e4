// Several keys written with one replacement of the file give the bytes of writing them one by one.
#include <gtest/gtest.h>

#include "common/TempPrefix.h"
#include "support/Profile.h"

TEST(ProfileBatch, SameBytesAsKeyByKeyWrites) {
    TempPrefix prefix;
    const std::string original = "; kept\r\n[general]\r\nA=1\r\n\r\n[Peaks]\r\n2PeakValue = 5 \r\n[Other]\r\nx=y\r\n";
    const std::vector<std::pair<std::string, std::string>> writes = {
        {"3PeakValue", "5"}, {"2PEAKVALUE", "7.5"}, {"1PeakTime", "Nov 05, 26. 14:00"}, {"3PeakValue", "9"}};
    const auto one = prefix.Root() / "one.ini";
    const auto batch = prefix.Root() / "batch.ini";
    TempPrefix::Write(one, original);
    TempPrefix::Write(batch, original);
    for (const auto& [key, value] : writes)
        ASSERT_TRUE(WritePrivateProfileString("Peaks", key.c_str(), value.c_str(), one.string()));
    ASSERT_TRUE(WritePrivateProfileStrings("Peaks", writes, batch.string()));
    EXPECT_EQ(TempPrefix::Read(batch), TempPrefix::Read(one));

    // A missing file is created; a folder where the file should be is refused and left alone.
    const auto fresh = prefix.Root() / "fresh.ini";
    ASSERT_TRUE(WritePrivateProfileStrings("Peaks", writes, fresh.string()));
    EXPECT_EQ(GetPrivateProfileString("Peaks", "3PeakValue", "", 256, fresh.string()), "9");
    std::filesystem::create_directories(prefix.Root() / "folder.ini");
    EXPECT_FALSE(WritePrivateProfileStrings("Peaks", writes, (prefix.Root() / "folder.ini").string()));
    EXPECT_TRUE(std::filesystem::is_directory(prefix.Root() / "folder.ini"));
}
