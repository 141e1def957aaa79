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

class FakeEditor : public IDeEsserEditor
{
public:
    explicit FakeEditor(AudioEffect* effect) : IDeEsserEditor(effect) {}

    bool getRect(ERect** rect) override
    {
        *rect = &m_Rect;
        return true;
    }
    bool open(void* parent) override
    {
        systemWindow = parent;
        panelOpen = true;
        return true;
    }
    void close() override
    {
        systemWindow = nullptr;
        panelOpen = false;
    }
    IDeEsserPanel* GetPanel() override { return panelOpen ? &panel : nullptr; }
    bool ShowMessage(const char* text) override
    {
        messages.push_back(text);
        return panelOpen;
    }

    FakePanel panel;
    bool panelOpen = false;
    std::vector<std::string> messages;

private:
    ERect m_Rect{0, 0, 200, 300};
};

// The editor of an effect made in this test process.
FakeEditor* FakeEditorOf(AudioEffect* effect);
