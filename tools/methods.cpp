#include "tools/methods.h"

#include "standin/declaration.h"
#include "tools/builtin.h"

#include <nlohmann/json.hpp>

namespace tools {

const Json &MethodData() {
    static const Json data = Json::parse(builtin::kMethods);
    return data;
}

const Json *FindMethod(std::string_view name) {
    for (const Json &chapter : MethodData()["chapters"])
        for (const Json &method : chapter["methods"])
            if (standin::SameName(method["name"].get_ref<const std::string &>(), name))
                return &method;
    return nullptr;
}

} // namespace tools
