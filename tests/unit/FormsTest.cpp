// Calls in the forms that callers of the library use, at the edges of what they may pass.

#include "Mis/BinStrm.h"
#include "Mis/Unix/Dsk.h"
#include "Plugins/IPluginsCommon.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace {

TEST(Forms, NamesOfPluginsMayBeAnyText) {
    const auto expectFound = [](const auto& name) {
        EXPECT_EQ(string2code(name), Plugins::VMWARE);
        EXPECT_STREQ(string2pluginName(name), "VMware ESX Console");
        EXPECT_STREQ(string2dllName(name), "vmwarePlugin.so");
    };
    expectFound("VMWARE");
    expectFound(std::string("VMWARE"));
    expectFound(VString("VMWARE"));
}

TEST(Forms, ADirectoryNeedsNoFullName) {
    const TempDir dir;
    EXPECT_EQ(dsk_credir(nullptr, (dir / "new/").c_str(), 0, nullptr), 1);
    EXPECT_TRUE(std::filesystem::is_directory(dir / "new"));
}

TEST(Forms, AnUnknownAccessModeOpensNothing) {
    const TempDir dir;
    unsigned char byte = 0;
    VBinaryStream stream;
    stream.Open((dir / "file").c_str(), static_cast<VBinaryStream::AccessMode>(7));
    EXPECT_EQ(stream.WriteRawData(&byte, 1), 0U);
    EXPECT_FALSE(std::filesystem::exists(dir / "file"));
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
    EXPECT_EQ(stream.WriteRawData(nullptr, 0), 0U);
    stream.Close();
    EXPECT_STREQ(reinterpret_cast<const char*>(in), "ab");
}

TEST(Forms, ANegativeLengthEndsInAnAssertion) {
    VString text("abc");
    EXPECT_DEATH(text.ReleaseBuffer(-2), "Mis/VString.cpp:.*nNewLength >= 0");
}

} // namespace
