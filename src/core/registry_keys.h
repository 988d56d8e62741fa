#pragma once

#include "platform/registry.h"

namespace korvex {

/// The registry keys of the product: settings, data and cached state.
const platform::RegistryKey& mainKey();
const platform::RegistryKey& dataKey();
const platform::RegistryKey& cacheKey();

/// The key below the data key that keeps one account's values. Needs a SID.
platform::RegistryKey accountKey(const QString& sid);

} // namespace korvex
