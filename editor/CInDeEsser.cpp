// The plug-in's application object and the meter constant, both set up when
// the binary is loaded.
#include "CInDeEsser.h"

#include <cmath>

const double g_dLog2 = std::log(2.0);

BEGIN_MESSAGE_MAP(CInDeEsser, CWinApp)
END_MESSAGE_MAP()

CInDeEsser::CInDeEsser() : CWinApp("DeEsser") {}

CInDeEsser theApp;
