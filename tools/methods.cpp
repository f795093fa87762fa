#include "tools/methods.h"

#include "tools/builtin.h"

#include <nlohmann/json.hpp>
#include <set>

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

std::vector<std::string_view> InterfaceNames(const standin::Host &host) {
    std::set<std::string_view> names;
    for (const auto *methods : {&host.PictureMethods(), &host.GlobalMethods()})
        for (const standin::RegisteredMethod &method : *methods)
            names.insert(method.declaration.name);
    for (const auto &definition : host.Classes())
        names.insert(definition->name);
    return {names.begin(), names.end()};
}

} // namespace tools
