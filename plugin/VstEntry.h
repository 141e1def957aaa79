// Entry-module services besides the exported VSTPluginMain.
#pragma once

#include "AudioEffect.h"

// Allocates and constructs one effect.
AudioEffect* createEffectInstance(audioMasterCallback audioMaster);

// Path of bitmap resource "bmp%05d.png" in the resources/ folder beside the
// plug-in, or null when absent. The caller frees the string with free().
char* getResourcePath(int id, const char* bundleIdentifier);
