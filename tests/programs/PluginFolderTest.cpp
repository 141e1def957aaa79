// The built DeEsser.so, loaded as a host loads it, finds the factory bank:
// through the host's directory answer (cut after its last "/", then taken as a
// folder) when a bank is there, else beside its own file (dladdr).
#include "FactoryTable.h"
#include "TestFiles.h"
#ifdef DEESSER_SO_PATH
#include "HostHarness.h"
#endif

#include <gtest/gtest.h>

#include <cstring>

namespace
{
#ifdef DEESSER_SO_PATH
// The name of program `index` after effOpen, from a fresh instance; the host
// answers `directory` for the plug-in folder.
std::string ProgramNameAfterOpen(int index, const char* directory)
{
    HostHarness host;
    host.directoryAnswer = directory;
    if (!host.Create())
        return "no instance";
    host.Dispatch(effOpen);
    return host.String(effGetProgramNameIndexed, index);
}
#endif

TEST(PluginFolder, BuiltPluginFindsItsFactoryBank)
{
#ifndef DEESSER_SO_PATH
    GTEST_SKIP() << "the plug-in is not built in this configuration";
#else
    std::vector<FactoryEntry> table;
    std::string error;
    ASSERT_TRUE(ReadFactoryTable(DEESSER_FACTORY_TABLE, &table, &error)) << error;
    ASSERT_FALSE(table.empty());
    TempDir config;
    ScopedEnv xdg("XDG_CONFIG_HOME", config.path().c_str()); // no user bank there

    // Whatever the host answers about the plug-in's folder, a bank there is
    // found, and without one the bank beside the .so itself.
    TempDir plugins;
    std::string bank(2304, '\0');
    std::memcpy(&bank[44], "From Host Folder", 17);
    WriteBytes(plugins / "DeEsserDef.fxb", BankFileBytes(bank));
    TempDir empty;
    const std::string so = plugins / "DeEsser.so", folder = plugins.path(),
                      slash = plugins.path() + "/", elsewhere = empty.path();
    // The host's answer, and the first program's name.
    const std::pair<const char*, std::string> cases[] = {
        {nullptr, table[0].name},             // no answer
        {"", table[0].name},                  // an empty answer
        {so.c_str(), "From Host Folder"},     // the .so's own path
        {folder.c_str(), "From Host Folder"}, // the folder, no trailing slash
        {slash.c_str(), "From Host Folder"},  // the folder with one
        {elsewhere.c_str(), table[0].name},   // a folder without a bank
    };
    for (const auto& [answer, first] : cases)
        EXPECT_EQ(ProgramNameAfterOpen(0, answer), first) << (answer ? answer : "(null)");
    EXPECT_EQ(ProgramNameAfterOpen(31, nullptr), "Empty");
#endif
}
} // namespace
