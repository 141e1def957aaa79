// The built DeEsser.so, loaded as a host loads it, finds the factory bank:
// through the host's directory answer (cut after its last "/", then taken as a
// folder) when a bank is there, else beside its own file (dladdr).
#include "AEffect.h"
#include "FactoryTable.h"
#include "TestFiles.h"

#include <gtest/gtest.h>

#include <cstring>
#include <dlfcn.h>

namespace
{
#ifdef DEESSER_SO_PATH
const char* g_Directory = nullptr;

VstIntPtr Host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float)
{
    if (opcode == audioMasterVersion)
        return 2400;
    if (opcode == audioMasterGetDirectory)
        return (VstIntPtr)g_Directory;
    return 0;
}

// The name of program `index` after effOpen, from a fresh instance.
std::string ProgramNameAfterOpen(int index)
{
    void* library = dlopen(DEESSER_SO_PATH, RTLD_NOW | RTLD_LOCAL);
    if (!library)
        return std::string("dlopen: ") + dlerror();
    auto entry = (AEffect * (*)(audioMasterCallback)) dlsym(library, "VSTPluginMain");
    std::string name = "no entry";
    if (entry)
    {
        AEffect* effect = entry(Host);
        if (effect)
        {
            effect->dispatcher(effect, effOpen, 0, 0, nullptr, 0.f);
            char text[64] = {};
            effect->dispatcher(effect, effGetProgramNameIndexed, index, 0, text, 0.f);
            name = text;
            effect->dispatcher(effect, effClose, 0, 0, nullptr, 0.f);
        }
    }
    dlclose(library);
    return name;
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
    const struct
    {
        const char* answer;
        std::string first;
    } cases[] = {
        {nullptr, table[0].name},             // no answer
        {"", table[0].name},                  // an empty answer
        {so.c_str(), "From Host Folder"},     // the .so's own path
        {folder.c_str(), "From Host Folder"}, // the folder, no trailing slash
        {slash.c_str(), "From Host Folder"},  // the folder with one
        {elsewhere.c_str(), table[0].name},   // a folder without a bank
    };
    for (const auto& c : cases)
    {
        g_Directory = c.answer;
        EXPECT_EQ(ProgramNameAfterOpen(0), c.first) << (c.answer ? c.answer : "(null)");
    }
    EXPECT_EQ(ProgramNameAfterOpen(31), "Empty");
    g_Directory = nullptr;
#endif
}
} // namespace
