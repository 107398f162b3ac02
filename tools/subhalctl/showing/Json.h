#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace subhalctl {

/** Members stay in the order in which they were put in, for the reader's sake. */
using Json = nlohmann::ordered_json;

/** In one line; what is no UTF-8, as a broken name may be, is replaced. */
inline std::string jsonText(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace subhalctl
