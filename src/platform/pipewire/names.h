#pragma once

namespace brindlemux {

/// How the program's nodes and its connection name themselves.
inline constexpr const char* applicationName = "Brindlemux";
inline constexpr const char* applicationID = "com.brindlemux.Brindlemux";

/// The scheduling group of the program's nodes and of the driver's clock: one clock drives a whole route.
inline constexpr const char* schedulingGroup = "brindlemux";

}  // namespace brindlemux
