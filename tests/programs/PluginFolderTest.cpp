// The built DeEsser.so, loaded as a host loads it, finds the factory bank:
// through the host's directory answer (cut after its last "/", then taken as a
// folder) when a bank is there, else beside its own file (dladdr).
#include "HostHarness.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(PluginFolder, BuiltPluginFindsItsFactoryBank)
{
    // The name of the first program of the bank built beside the .so.
    const std::string factory = ReadBytes(DEESSER_FACTORY_BANK).substr(160 + 44).c_str();
    ASSERT_FALSE(factory.empty());
    TempDir config;
    ScopedEnv xdg("XDG_CONFIG_HOME", config.path().c_str()); // no user bank there

    TempDir plugins, empty;
    std::string bank(2304, '\0');
    std::memcpy(&bank[44], "From Host Folder", 17);
    WriteBytes(plugins / "DeEsserDef.fxb", BankFileBytes(bank));
    const std::string so = plugins / "DeEsser.so", folder = plugins.path(),
                      slash = plugins.path() + "/", elsewhere = empty.path();
    // The host's answer, and the first program's name after effOpen.
    const std::pair<const char*, std::string> cases[] = {
        {nullptr, factory},                   // no answer
        {"", factory},                        // an empty answer
        {so.c_str(), "From Host Folder"},     // the .so's own path
        {folder.c_str(), "From Host Folder"}, // the folder, no trailing slash
        {slash.c_str(), "From Host Folder"},  // the folder with one
        {elsewhere.c_str(), factory},         // a folder without a bank
    };
    for (const auto& [answer, first] : cases)
    {
        HostHarness host;
        host.directoryAnswer = answer;
        ASSERT_NE(host.Create(), nullptr);
        host.Dispatch(effOpen);
        EXPECT_EQ(host.String(effGetProgramNameIndexed, 0), first) << (answer ? answer : "(null)");
        if (first == factory) // slots after the table's programs are empty ones
        {
            EXPECT_EQ(host.String(effGetProgramNameIndexed, 31), "Empty");
        }
    }
}
