#include "FakeEditor.h"
#include "ADeEsser.h"

IDeEsserEditor* CreateDeEsserEditor(ADeEsser* effect)
{
    return new FakeEditor(effect);
}

FakeEditor* FakeEditorOf(AudioEffect* effect)
{
    return static_cast<FakeEditor*>(effect->getEditor());
}
