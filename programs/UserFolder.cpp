#include "UserFolder.h"

#include <cstdlib>
#include <cstring>
#include <string>

char szGlobalMyApplicationDataPathName[2048] = "";

void GetMy_SHFOLDER_PathName()
{
    std::string folder;
    const char* xdg = std::getenv("XDG_CONFIG_HOME");
    const char* home = std::getenv("HOME");
    if (xdg && xdg[0] == '/')
        folder = xdg;
    else if (home && home[0] == '/')
        folder = std::string(home) + "/.config";
    else
        return; // no folder: later file names stay bare
    std::string url = "file://" + folder;
    if (url.back() != '/')
        url += '/';
    if (url.size() >= sizeof(szGlobalMyApplicationDataPathName))
        return;
    std::memcpy(szGlobalMyApplicationDataPathName, url.c_str(), url.size() + 1);
}
