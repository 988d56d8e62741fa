#include "platform/library.h"

#include <QtGlobal>

/// What the test of pinning loads: the call as a library that a host loads makes it.
extern "C" Q_DECL_EXPORT bool pinModule()
{
    return korvex::platform::pinLibrary();
}
