#include "UserFolder.h"
#include "CFile.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
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
    std::string url = CFile::PathToFileURL(folder.c_str());
    if (url.back() != '/')
        url += '/';
    if (url.size() >= sizeof(szGlobalMyApplicationDataPathName))
        return; // does not fit: treated as a failed lookup
    std::memcpy(szGlobalMyApplicationDataPathName, url.c_str(), url.size() + 1);
}

void CutAfterLastSlash(char* path)
{
    size_t n = std::strlen(path);
    if (n <= 1 || path[n - 1] == '/')
        return;
    char* slash = std::strrchr(path, '/');
    if (slash)
        slash[1] = '\0';
    else
        path[0] = '\0';
}

bool GetModulePathName(char* path, size_t size)
{
    Dl_info info;
    if (!dladdr((void*)&GetModulePathName, &info) || !info.dli_fname || !info.dli_fname[0])
        return false;
    size_t n = std::strlen(info.dli_fname);
    if (n >= size)
        return false;
    std::memcpy(path, info.dli_fname, n + 1);
    return true;
}
