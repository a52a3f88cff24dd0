// Calls as other programs write them, with arguments at the edges of what is allowed.

#include "Mis/BinStrm.h"
#include "Mis/Unix/Dsk.h"
#include "Plugins/IPluginsCommon.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

TEST(Forms, NamesMayBeAnyKindOfText) {
    EXPECT_EQ(string2code("VMWARE"), Plugins::VMWARE);
    EXPECT_EQ(string2code(VString("VMWARE")), Plugins::VMWARE);
    EXPECT_STREQ(string2pluginName(std::string("VMWARE")), "VMware ESX Console");
    EXPECT_STREQ(string2dllName(std::string("VMWARE")), "vmwarePlugin.so");
}

TEST(Forms, ADirectoryNeedsNoFullNameAndAStreamAKnownMode) {
    const TempDir dir;
    EXPECT_EQ(dsk_credir(nullptr, (dir / "new/").c_str(), 0, nullptr), 1);
    VBinaryStream stream;
    stream.Open((dir / "new/file").c_str(), static_cast<VBinaryStream::AccessMode>(7));
    EXPECT_EQ(stream.WriteRawData(nullptr, 0), 0U);
    EXPECT_TRUE(std::filesystem::is_empty(dir / "new"));
}

TEST(Forms, AFifoIsReadAndWrittenInTurn) {
    const TempDir dir;
    ASSERT_EQ(mkfifo((dir / "fifo").c_str(), 0600), 0);
    unsigned char out[] = "ab";
    unsigned char in[] = "--";
    VBinaryStream stream;
    stream.Open((dir / "fifo").c_str(), VBinaryStream::UpdateMode);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(stream.WriteRawData(out + i, 1), 1U);
        EXPECT_EQ(stream.ReadRawData(in + i, 1), 1U);
    }
    EXPECT_EQ(stream.ReadRawData(nullptr, 0), 0U);
    stream.Close();
    EXPECT_STREQ(reinterpret_cast<const char*>(in), "ab");
}

} // namespace
