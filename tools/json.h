#pragma once

#include <nlohmann/json_fwd.hpp>

namespace tools {

using Json = nlohmann::ordered_json; ///< whose members keep their order

} // namespace tools
