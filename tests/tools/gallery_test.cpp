#include "tools/gallery/gallery.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <set>

namespace tools::gallery {
namespace {

/// Every form of every method is called, and no other.
TEST(Gallery, ShowsEveryFormOfEveryMethod) {
    const standin::Host host;
    std::set<std::string> missing;
    for (const auto *methods : {&host.GlobalMethods(), &host.PictureMethods()})
        for (const standin::RegisteredMethod &method : *methods) {
            missing.insert(method.declaration.text);
            if (method.record.setter)
                missing.insert(method.declaration.text + " = ");
        }
    for (const auto &definition : host.Classes())
        missing.insert(definition->name);
    for (const Json &chapter : MethodData()["chapters"])
        for (const Json &method : chapter["methods"]) {
            bool isRegistered = false;
            for (const Json &shot : method["calls"]) {
                const Declarations named = [&](std::string_view name) {
                    return std::string(method["name"] == name ? "declared" : "");
                };
                const Call call = ParseCalls(shot["call"].get_ref<const std::string &>(), named).at(0);
                EXPECT_EQ(call.name, method["name"].get<std::string>());
                isRegistered = isRegistered || missing.erase(std::string(call.name)) != 0 || !call.member.empty();
                for (const auto *methods : {&host.GlobalMethods(), &host.PictureMethods()})
                    for (const auto &[declaration, record] : *methods)
                        if (declaration.name == call.name && call.arguments.size() >= declaration.Required() &&
                            call.arguments.size() <= declaration.parameters.size()) {
                            isRegistered = true;
                            missing.erase(declaration.text + (call.assigned ? " = " : ""));
                        }
            }
            EXPECT_TRUE(isRegistered) << method["name"];
        }
    for (const std::string &form : missing)
        ADD_FAILURE() << "no call of " << form;
}

TEST(Gallery, ScalesLargePicturesDownAndLaysThemOnWhite) {
    Image image = MakeImage(1280, 640, true); // clear, but for one opaque red pixel of four
    for (int y = 0; y < image.height; y += 2)
        for (int x = 0; x < image.width; x += 2)
            image.At(x, y)[0] = image.At(x, y)[3] = 255;
    const Image photo = PhotoFrom(image);
    EXPECT_EQ(photo.width, 640);
    EXPECT_EQ(photo.height, 320);
    EXPECT_FALSE(photo.hasAlpha);
    for (const int x : {0, 639})
        EXPECT_EQ(Bytes(photo.At(x, 319), photo.At(x, 319) + 4), (Bytes{255, 191, 191, 255}));
    EXPECT_EQ(PhotoFrom(MakeImage(30, 7)).width, 30);
    EXPECT_EQ(PhotoFrom(MakeImage(10000, 1)).height, 1);
}

} // namespace
} // namespace tools::gallery
