// A windowless editor for tests: records what the effect tells its panel and
// which messages it would show.
#pragma once

#include "IDeEsserPanel.h"

#include <string>
#include <utility>
#include <vector>

class FakePanel : public IDeEsserPanel
{
public:
    void UpdateControl(int index, float value) override { controls.emplace_back(index, value); }
    void UpdateModify() override { ++modifyCount; }

    std::vector<std::pair<int, float>> controls;
    int modifyCount = 0;
};

// Its panel is there from open(window) to close(); messages show only then.
class FakeEditor : public IDeEsserEditor
{
public:
    using IDeEsserEditor::IDeEsserEditor;

    bool open(void* parent) override
    {
        systemWindow = parent;
        return true;
    }
    IDeEsserPanel* GetPanel() override { return isOpen() ? &panel : nullptr; }
    bool ShowMessage(const char* text) override
    {
        messages.push_back(text);
        return isOpen();
    }

    FakePanel panel;
    std::vector<std::string> messages;
};

// The editor of an effect made in this test process.
FakeEditor* FakeEditorOf(AudioEffect* effect);
