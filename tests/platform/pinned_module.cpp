#include "platform/library.h"

/// What the test of pinning loads: the call as a library that a host loads makes it.
extern "C" __attribute__((visibility("default"))) bool pinModule()
{
    return korvex::platform::pinLibrary();
}
