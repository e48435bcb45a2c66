// CLI11, without the C++ standard streams built at every start.
//
// <iostream> puts into each file that includes it an object that builds
// std::cout and its seven kin before main, which every start of corvanectl
// paid for in time and page faults. CLI11 includes it only for the
// defaults of App::exit, and corvanectl prints through stdio alone. So the
// streams are declared here as libstdc++'s <iostream> declares them,
// without that object, and main gives App::exit string streams. The
// streams are never built: nothing in corvanectl may use them. With
// another library, <iostream> comes as it is.
#pragma once

#include <istream>
#include <ostream>

#if defined(__GLIBCXX__) && !defined(_GLIBCXX_IOSTREAM)
#define _GLIBCXX_IOSTREAM 1
namespace std {
extern istream cin;
extern ostream cout, cerr, clog;
extern wistream wcin;
extern wostream wcout, wcerr, wclog;
}  // namespace std
#endif

#include <CLI/CLI.hpp>
