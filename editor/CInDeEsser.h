// The window toolkit's application object for the plug-in binary: one static
// instance, theApp, lives from load to unload. Also home of the ln 2 constant
// the meter code divides by.
#pragma once

#include "CWinApp.h"

class CInDeEsser : public CWinApp
{
public:
    CInDeEsser();

    DECLARE_MESSAGE_MAP()
};

extern CInDeEsser theApp;

// ln 2 (0.6931471805599453): level dB = ln(level) / g_dLog2 * 6.
extern const double g_dLog2;
