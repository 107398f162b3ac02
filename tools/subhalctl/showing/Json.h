#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace subhalctl {

/** Members stay in the order in which they were put in, for the reader's sake. */
using Json = nlohmann::ordered_json;

/** In one line; what is no UTF-8, as a broken name may be, is replaced. */
inline std::string jsonText(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/** null for a figure that is not known. */
template <typename Number>
Json orNull(const std::optional<Number>& figure) {
    return figure ? Json(*figure) : Json(nullptr);
}

}  // namespace subhalctl
