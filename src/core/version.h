#pragma once

namespace korvex {

/// The version text of the product, as log lines and service requests carry it.
inline constexpr char kVersion[] = "5.5.0-67381a3";

} // namespace korvex
