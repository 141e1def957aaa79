// Temporary editor without a panel, used until the bitmap editor lands.
#include "ADeEsser.h"
#include "IDeEsserPanel.h"

namespace
{
class PendingEditor : public IDeEsserEditor
{
public:
    explicit PendingEditor(AudioEffect* effect) : IDeEsserEditor(effect) {}
    bool getRect(ERect** rect) override
    {
        *rect = &m_Rect;
        return true;
    }
    IDeEsserPanel* GetPanel() override { return nullptr; }
    bool ShowMessage(const char*) override { return false; }

private:
    ERect m_Rect{0, 0, 0, 0};
};
} // namespace

IDeEsserEditor* CreateDeEsserEditor(ADeEsser* effect)
{
    return new PendingEditor(effect);
}
