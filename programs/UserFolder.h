// Folders of the default bank file.
//
// The user's settings folder is found once per process as a URL string ending
// in "/": "file://$XDG_CONFIG_HOME/" when that is an absolute path, else
// "file://$HOME/.config/"; the path is percent-encoded in the URL. The buffer
// stays as it was (empty at load) when neither variable gives a folder.
//
// The plug-in's own folder is the host's answer to its directory query, or
// the folder of the loaded module, each cut after the last "/".
#pragma once

#include <cstddef>

extern char szGlobalMyApplicationDataPathName[2048];

void GetMy_SHFOLDER_PathName();

// Cuts `path` after its last "/". Nothing is cut when the path already ends in
// "/" or is one character long; a path with no "/" becomes empty.
void CutAfterLastSlash(char* path);

// The file this code was loaded from (the plug-in .so, or the executable it is
// linked into), copied into `path` (`size` bytes). False when unknown or too long.
bool GetModulePathName(char* path, size_t size);
