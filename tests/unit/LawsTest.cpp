#include "PlugSetter/Globals.h"
#include "PlugSetter/Upgrade.h"
#include "tests/support/RoundTrip.h"
#include "tests/support/ScratchTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <map>
#include <memory>
#include <random>

namespace {

/// Entries, and a text that holds them as untidily as the rules allow.
class Generated {
public:
    explicit Generated(unsigned seed) : m_random(seed) {
        Line("QXCversion=67\"-\"1");
        for (const char* digit : {"0", "1", "2", "3", "4", "5", "6", "7", "8", "9"}) {
            Write("DESCRIPTION");
            Write(std::string("hardware.cpu0") + digit + ".type");
            Write(std::string("serVer") + digit + ".DialUp.Username");
            if (Below(3) < seed % 4) {
                Write(std::string("Plugin") + digit + ".Code");
            }
        }
    }

    std::map<std::string, std::string> entries;
    std::string text;

private:
    unsigned Below(unsigned end) { return static_cast<unsigned>(m_random() % end); }

    void Write(std::string name) {
        static const char* const pieces[] = {"a",  "Z z", "  ",  "=", "{", "}",
                                             "\"", "-",   "\"-", "/", ",", "\xC3\xA9\xFF"};
        std::string& value = entries[name];
        do {
            value.clear();
            for (unsigned i = Below(3) * Below(90) + 1; i > 0; --i) {
                value += pieces[Below(std::size(pieces))];
            }
        } while (!Survives(name, value));

        int open = 0;
        for (std::size_t dot = name.find('.'); dot != name.npos && Below(3) > 0; dot = name.find('.'), ++open) {
            Line(name.substr(0, dot) + "{");
            name.erase(0, dot + 1);
        }
        std::string line = name + (Below(2) == 0 ? "=" : "\t = ");
        for (std::size_t i = 0; i < value.size(); ++i) {
            if (Below(50) == 0 && i + 1 < value.size() && !line.ends_with("\"-")) {
                Line(line + "\"-");
                line = "\"";
            }
            line += value[i];
        }
        Line(line);
        for (; open > 0; --open) {
            Line("}");
        }
        Line(Below(2) == 0 ? "}" : "Description = never ended\"-");
    }

    void Line(const std::string& line) {
        text += std::string(Below(3), '\t') + line;
        text += Below(5) == 0 ? " // no = // value {" : "";
        text += Below(2) == 0 ? " \n" : "\r\n";
    }

    std::mt19937 m_random;
};

void ExpectHolds(std::string text, const std::map<std::string, std::string>& entries) {
    VTaskData data("", true);
    ASSERT_TRUE(data.Deserialize(text, false)) << "line " << data.GetErrorLine();
    for (const auto& [name, value] : entries) {
        int key = 0;
        std::string found;
        EXPECT_EQ(VTaskData::GetKeyID(name, &key, 671, 1), 1) << name;
        EXPECT_EQ(data.GetString(key, &found), 1) << name;
        EXPECT_EQ(found, value) << name;
        data.DeleteKey(key);
    }
    EXPECT_EQ(data.DeleteKey(INT_MIN, INT_MAX), 0) << "more entries than these";
}

class Laws : public ScratchTest {
protected:
    /// What the edit makes of the configuration.
    static std::string Edited(RegType type, const char* name) {
        regType = type;
        plugName = name;
        installationDir = "./";
        backupDir = "backup/";
        upgrade();
        std::for_each(bakFiles.begin(), bakFiles.end(), std::default_delete<BackupEntry>());
        bakFiles.clear();
        return ReadFile("Global.qxc");
    }
};

TEST_F(Laws, HoldForGeneratedConfigurations) {
    for (unsigned seed = 0; seed < 40; ++seed) {
        SCOPED_TRACE(seed);
        Generated generated(seed);
        WriteFile("Global.qxc", generated.text);
        const std::string canonical = Edited(unregisterPlugin, "VMWARE");
        ExpectHolds(canonical, generated.entries);
        EXPECT_EQ(Edited(unregisterPlugin, "VMWARE"), canonical);

        std::string slot = "Plugin0.";
        while (generated.entries.contains(slot + "Code")) {
            ++slot[6];
        }
        if (slot <= "Plugin9.") {
            generated.entries[slot + "Code"] = "vmWare";
            generated.entries[slot + "Binary"] = "vmwarePlugin.so";
            generated.entries[slot + "Name"] = "VMware ESX Console";
        }
        const std::string registered = Edited(registerPlugin, "vmWare");
        ExpectHolds(registered, generated.entries);
        EXPECT_EQ(Edited(registerPlugin, "VMWARE"), registered);
        EXPECT_EQ(Edited(unregisterPlugin, "VMWARE"), canonical);
    }
}

} // namespace
