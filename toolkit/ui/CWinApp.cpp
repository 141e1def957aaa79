// CWinApp: the application object registry (one per binary).
#include "CWinApp.h"

namespace
{
CWinApp* g_App = nullptr;
}

BEGIN_MESSAGE_MAP(CWinApp, CCmdTarget)
END_MESSAGE_MAP()

CWinApp::CWinApp(LPCTSTR appName) : m_pszAppName(appName)
{
    g_App = this;
}

CWinApp::~CWinApp()
{
    if (g_App == this)
        g_App = nullptr;
}

HCURSOR CWinApp::LoadStandardCursor(LPCTSTR name) const
{
    return LoadCursor(nullptr, name);
}

CWinApp* AfxGetApp()
{
    return g_App;
}
