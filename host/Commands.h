// The deesser commands. Each takes the arguments after the command word and
// returns the process exit status; errors are thrown as CHostError.
#pragma once

#include "CArgs.h"

int CmdRender(const ArgList& args);
int CmdDemo(const ArgList& args);
int CmdInfo(const ArgList& args);
int CmdImportLegacy(const ArgList& args);
int CmdBench(const ArgList& args);
int CmdPrograms(const ArgList& args);

// The whole program: the command word and its arguments; prints errors as
// "deesser: message" and returns the exit status.
int RunDeEsser(int argc, char** argv);
