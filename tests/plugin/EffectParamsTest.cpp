// The effect's parameter paths (host, panel control, typed value): what each
// stores, what it tells the panel and the host; suspend/resume; the program
// operations of the panel; and the entry module's bitmap lookup.
#include "ADeEsser.h"
#include "FakeEditor.h"
#include "HostHarness.h"
#include "TestFiles.h"
#include "VstEntry.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <gtest/gtest.h>
#include <vector>

namespace
{
std::vector<HostCall>& g_Sent = HostHarness::calls; // what the effect sent the host

class Effect : public ::testing::Test
{
protected:
    void SetUp() override
    {
        setenv("XDG_CONFIG_HOME", "/nonexistent-deesser-test", 1);
        g_Sent.clear();
        fx = std::make_unique<ADeEsser>(HostHarness::Callback);
        editor = FakeEditorOf(fx.get());
        editor->open((void*)1);
        editor->panel.controls.clear();
    }

    std::unique_ptr<ADeEsser> fx;
    FakeEditor* editor = nullptr;
};
} // namespace

TEST_F(Effect, HostPathTellsThePanelFirstAndNeverTheHost)
{
    fx->setParameter(0, 0.99f);
    // 0.99 truncates to 0: the compressors are off, and the text says so.
    char text[16];
    fx->getParameterDisplay(0, text);
    EXPECT_STREQ(text, "OFF");
    EXPECT_EQ(fx->GetProgram(0).values[0], 0.99f);
    fx->setParameter(11, 0.3f);
    const std::vector<std::pair<int, float>> shown = {{0, 0.99f}, {11, 0.3f}};
    EXPECT_EQ(editor->panel.controls, shown);
    EXPECT_TRUE(g_Sent.empty());

    // A non-finite value is ignored entirely.
    fx->setParameter(3, NAN);
    fx->setParameter(3, INFINITY);
    EXPECT_EQ(fx->getParameter(3), 1.f);
    EXPECT_EQ(editor->panel.controls, shown);
}

TEST_F(Effect, AttackReachesTheCompressorsInMsFromTheHostNormalisedFromThePanel)
{
    fx->setParameterFormUI(5, 0.5f);
    EXPECT_DOUBLE_EQ(fx->GetComp().getAttack(), 0.5);
    EXPECT_EQ(g_Sent, (std::vector<HostCall>{{audioMasterAutomate, 5, 0, 0.5f}}));
    fx->setParameter(5, 0.5f);
    EXPECT_DOUBLE_EQ(fx->GetComp().getAttack(), 10.0);
    // Release is handed over in milliseconds, threshold and ratio as is.
    fx->setParameter(6, 1.f);
    EXPECT_NEAR(fx->GetComp().getRelease(), 4000.0, 1e-3);
    fx->setParameter(3, 0.7f);
    EXPECT_NEAR(fx->GetComp().getThresh(), -30.0, 1e-4);
    fx->setParameter(4, 3.f / 63.f);
    EXPECT_NEAR(fx->GetComp().getRatio(), 4.0, 1e-5);
    // Indices above 10 store nothing but are still announced to the host.
    g_Sent.clear();
    fx->setParameterFormUI(12, 0.4f);
    EXPECT_EQ(g_Sent, (std::vector<HostCall>{{audioMasterAutomate, 12, 0, 0.4f}}));
}

TEST_F(Effect, TypedValues)
{
    // +12 dB: the program holds at most gain 2, the output gain is 4.
    fx->setParameterFromDiaplay(1, 12.f);
    EXPECT_NEAR(fx->getParameter(1), (2.0 - 0.001) / 9.999, 1e-6);
    EXPECT_FLOAT_EQ(fx->GetOutputGain(), 4.f);
    EXPECT_FLOAT_EQ(fx->GetInternalValue(1), 12.f);
    fx->setParameterFromDiaplay(2, -6.f);
    EXPECT_NEAR(fx->getParameter(2), (0.5 - 0.001) / 0.999, 1e-6);

    fx->setParameterFromDiaplay(3, -150.f);
    EXPECT_FLOAT_EQ(fx->GetInternalValue(3), -150.f);
    EXPECT_EQ(fx->getParameter(3), 0.f);
    EXPECT_DOUBLE_EQ(fx->GetComp().getThresh(), -150.0);
    fx->setParameterFromDiaplay(5, 10.f);
    EXPECT_FLOAT_EQ(fx->getParameter(5), 0.5f);
    EXPECT_DOUBLE_EQ(fx->GetComp().getAttack(), 0.5);

    // The entry field's values: half a display step away from zero.
    fx->setParameterFromDiaplay(3, -12.34f);
    EXPECT_NEAR(fx->getParameterDisplayVal(3), -12.39f, 1e-5);
    fx->setParameterFromDiaplay(6, 0.123f);
    EXPECT_NEAR(fx->getParameterDisplayVal(6), 0.128f, 1e-6);

    // Index 0 stores nothing but still moves the control and tells the host,
    // with an automate followed by a lone end-of-edit.
    g_Sent.clear();
    editor->panel.controls.clear();
    fx->setParameterFromDiaplay(0, 1.f);
    EXPECT_EQ(editor->panel.controls, (std::vector<std::pair<int, float>>{{0, 1.f}}));
    const std::vector<HostCall> sent = {{audioMasterAutomate, 0, 0, 1.f},
                                        {audioMasterEndEdit, 0, 0, 0.f}};
    EXPECT_EQ(g_Sent, sent);
}

TEST_F(Effect, SuspendAndResumeDriveOnOffWhateverTheProgram)
{
    fx->suspend();
    EXPECT_EQ(fx->getParameter(0), 0.f);
    ASSERT_FALSE(editor->panel.controls.empty());
    EXPECT_EQ(editor->panel.controls.back(), std::make_pair(0, 0.f));
    EXPECT_EQ(fx->GetProgram(0).values[0], 1.f);
    fx->resume();
    EXPECT_EQ(fx->getParameter(0), 1.f);
    EXPECT_EQ(editor->panel.controls.back(), std::make_pair(0, 1.f));
}

TEST_F(Effect, ProgramsChangedRevertAndCopy)
{
    fx->setParameter(3, 0.5f);
    EXPECT_TRUE(fx->IsProgramChanged());
    fx->setParameter(3, 1.f);
    EXPECT_FALSE(fx->IsProgramChanged());
    char name[24] = "Renamed";
    fx->setProgramName(name);
    EXPECT_FALSE(fx->IsProgramChanged());

    fx->setParameter(4, 0.5f);
    int modifies = editor->panel.modifyCount;
    g_Sent.clear();
    fx->ProgramToInitial();
    EXPECT_FALSE(fx->IsProgramChanged());
    EXPECT_STREQ(fx->GetProgram(0).name, "Empty");
    EXPECT_EQ(fx->getParameter(4), 0.f);
    EXPECT_GT(editor->panel.modifyCount, modifies);
    ASSERT_FALSE(g_Sent.empty());
    EXPECT_EQ(g_Sent.back().opcode, audioMasterUpdateDisplay);

    fx->setProgram(2);
    fx->setParameter(3, 0.25f);
    fx->setProgramName(name);
    fx->setProgram(7);
    fx->CopyPgFrom(2);
    EXPECT_EQ(fx->getProgram(), 7);
    EXPECT_STREQ(fx->GetProgram(7).name, "Renamed");
    EXPECT_EQ(fx->getParameter(3), 0.25f);
    fx->CopyPgFrom(7);  // onto itself: harmless
    fx->CopyPgFrom(40); // out of range: ignored
    EXPECT_EQ(fx->getParameter(3), 0.25f);

    // No bank-wide factory reset exists: nothing changes.
    std::vector<ADeEsserProgram> before(&fx->GetProgram(0), &fx->GetProgram(0) + 32);
    fx->ProgramToAllFactory();
    EXPECT_EQ(std::memcmp(before.data(), &fx->GetProgram(0), 32 * sizeof(ADeEsserProgram)), 0);
}

// Bitmaps are resources/bmp%05d.png beside the module (this program), or null.
TEST(ResourcePath, BesideTheModuleOrNull)
{
    const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "resources";
    std::filesystem::create_directories(folder);
    WriteBytes(folder / "bmp00005.png", "");
    std::unique_ptr<char, decltype(&std::free)> path(getResourcePath(5, nullptr), std::free);
    ASSERT_NE(path, nullptr);
    EXPECT_TRUE(std::filesystem::equivalent(path.get(), folder / "bmp00005.png"));
    std::filesystem::remove(folder / "bmp00005.png");
    EXPECT_EQ(getResourcePath(5, nullptr), nullptr);
}
