#include "entry/sign_in.h"
#include "export.h"

/// Runs one sign-in to its verdict: 1 granted, 0 denied, -1 the offline screen could not be built.
///
/// `json` is the zero-terminated text {"user": ..., "ip": ...}; a null pointer counts as an empty
/// text. Blocks. The first call of a process makes its thread the GUI thread; every later call has
/// to come from that thread; another thread's is denied.
extern "C" KORVEXLOGIN_EXPORT int korvex_execute(const wchar_t* json)
{
    return korvex::executeSignIn(json);
}
