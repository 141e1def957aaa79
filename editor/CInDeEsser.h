// The window toolkit's application object for the plug-in binary: one static
// instance, theApp, lives from load to unload. (The meters' ln 2 is the
// parameters' own, in params/ParamTable.h.)
#pragma once

#include "CWinApp.h"

class CInDeEsser : public CWinApp
{
public:
    CInDeEsser();

    DECLARE_MESSAGE_MAP()
};

extern CInDeEsser theApp;
