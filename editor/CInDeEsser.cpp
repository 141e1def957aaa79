// The plug-in's application object, set up when the binary is loaded.
#include "CInDeEsser.h"

BEGIN_MESSAGE_MAP(CInDeEsser, CWinApp)
END_MESSAGE_MAP()

CInDeEsser::CInDeEsser() : CWinApp("DeEsser") {}

CInDeEsser theApp;
