// The user's settings folder, found once per process as a URL string ending
// in "/": "file://$XDG_CONFIG_HOME/" when that is an absolute path, else
// "file://$HOME/.config/". Empty when neither is known.
#pragma once

extern char szGlobalMyApplicationDataPathName[2048];

void GetMy_SHFOLDER_PathName();
