#include "fuzz/run.h"

#include <cstdlib>
#include <fmt/format.h>
#include <fuzzer/FuzzedDataProvider.h>
#include <limits>

namespace {

using namespace standin;

/// What is registered, flat: methods of pictures, global ones, and those and the properties of classes.
struct Routine {
    const RegisteredMethod *method = nullptr; ///< or else a property
    const RegisteredProperty *property = nullptr;
    const RegisteredClass *definition = nullptr; ///< of a class's method or property
    bool global = false;
};

std::vector<Routine> RoutinesOf(const Host &host) {
    std::vector<Routine> routines;
    for (const RegisteredMethod &method : host.PictureMethods())
        routines.push_back({.method = &method});
    for (const RegisteredMethod &method : host.GlobalMethods())
        routines.push_back({.method = &method, .global = true});
    for (const auto &definition : host.Classes()) {
        for (const RegisteredMethod &method : definition->methods)
            routines.push_back({.method = &method, .definition = definition.get()});
        for (const RegisteredProperty &property : definition->properties)
            routines.push_back({.property = &property, .definition = definition.get()});
    }
    return routines;
}

/// A short script, which the input writes: a few calls, whose pictures and instances meet again in later ones.
class Script {
  public:
    Script(fuzz::Run &run, FuzzedDataProvider &input) : run_(run), host_(run.host), input_(input) {
        // An input that ends early gives zeros from there on, which is to mean ordinary pictures.
        width_ = Width();
        height_ = Height();
        run.AtLevel(input.ConsumeIntegralInRange(-1, 2));
    }

    void Step() {
        const std::vector<Routine> routines = RoutinesOf(host_);
        const Routine &routine = routines[input_.ConsumeIntegralInRange<std::size_t>(0, routines.size() - 1)];
        if (routine.property)
            return Access(routine);
        Call(routine);
    }

  private:
    static constexpr int kLargest = 40;

    int Width() { return kLargest - input_.ConsumeIntegralInRange(0, kLargest); }
    int Height() { return kLargest / 2 - input_.ConsumeIntegralInRange(0, kLargest / 2); }
    bool Rarely() { return input_.ConsumeIntegralInRange(0, 15) == 15; }

    PictureDescription Description() {
        constexpr Form kForms[] = {Form::OfHost, Form::OfHost, Form::Bitmap, Form::Console, Form::GraphicsWorld};
        PictureDescription wanted;
        const bool sameSize = input_.ConsumeIntegralInRange(0, 2) < 2;
        wanted.width = sameSize ? width_ : Width();
        wanted.height = sameSize ? height_ : Height();
        wanted.form = input_.PickValueInArray(kForms);
        wanted.hasAlphaChannel = input_.ConsumeBool();
        wanted.alphaInfo = input_.ConsumeIntegralInRange(0u, 7u);
        wanted.rowPadding = 4 * input_.ConsumeIntegralInRange(0, 3);
        wanted.lockable = !Rarely();
        // A palette of one to four words, so that pictures are found in one another, are gray or of one color.
        std::vector<std::uint32_t> palette;
        for (int left = input_.ConsumeIntegralInRange(1, 4); left > 0; --left)
            palette.push_back(input_.ConsumeBool() ? input_.ConsumeIntegral<std::uint32_t>()
                                                   : 0x01010101u * input_.ConsumeIntegral<unsigned char>());
        wanted.word = [palette](int x, int y) {
            return palette[static_cast<unsigned>(x * 7 + y * 3 + x * y) / 4 % palette.size()];
        };
        if (Rarely())
            Break(wanted);
        return wanted;
    }

    /// What only a broken host offers; never more memory than there is.
    void Break(PictureDescription &wanted) {
        switch (input_.ConsumeIntegralInRange(0, 6)) {
        case 0:
            wanted.bitsPerPixel = input_.PickValueInArray<std::size_t>({0, 1, 8, 24, 64});
            break;
        case 1:
            wanted.describedType = input_.PickValueInArray<std::uint32_t>({0, 3, 99, 0xFFFFFFFF});
            break;
        case 2:
            wanted.withoutData = true;
            break;
        case 3:
            wanted.withoutPixels = true;
            break;
        case 4:
            wanted.nullRow = input_.ConsumeIntegralInRange(0, kLargest / 2);
            break;
        case 5:
            wanted.paletteRows = input_.ConsumeIntegral<std::uint32_t>();
            wanted.trueColor = input_.ConsumeIntegralInRange(0u, 2u);
            break;
        default:
            if (wanted.width > 0)
                wanted.bytesPerRow = input_.ConsumeIntegralInRange(0, wanted.width * 4 - 1);
        }
    }

    Value Picture() {
        if (Rarely())
            return nullptr;
        if (!pictures_.empty() && input_.ConsumeBool())
            return pictures_[input_.ConsumeIntegralInRange<std::size_t>(0, pictures_.size() - 1)];
        const Ref made = host_.Make(Description());
        if (input_.ConsumeIntegralInRange(0, 3) == 0) {
            const Ref mask = host_.Make(Description());
            host_.AttachMask(made, mask);
        }
        pictures_.push_back(made);
        return made;
    }

    Value Block() {
        if (Rarely())
            return nullptr;
        if (!blocks_.empty() && input_.ConsumeIntegralInRange(0, 3) == 0)
            return blocks_.back();
        const int size = input_.PickValueInArray({0, 1, 2, 255, 256, 257, 1023, 1024, 1025});
        const int content = input_.ConsumeIntegralInRange(0, 64);
        const auto bytes = input_.ConsumeBytes<unsigned char>(static_cast<std::size_t>(content));
        const Ref made = host_.MakeBlock(static_cast<std::size_t>(size), bytes);
        made.block().withoutAddress = Rarely();
        blocks_.push_back(made);
        return made;
    }

    Value Text() {
        if (Rarely())
            return nullptr;
        const int size = input_.ConsumeIntegralInRange(0, 200);
        return host_.MakeString(input_.ConsumeBytesAsString(static_cast<std::size_t>(size)));
    }

    int Integer() {
        constexpr int kTurns[] = {0,
                                  1,
                                  -1,
                                  2,
                                  3,
                                  15,
                                  16,
                                  255,
                                  256,
                                  -255,
                                  -256,
                                  32767,
                                  32768,
                                  -32768,
                                  255,
                                  0x7FFFFF00,
                                  0x10000,
                                  0x55555556,
                                  std::numeric_limits<int>::max(),
                                  -0x7FFFFFFF,
                                  std::numeric_limits<int>::min()};
        switch (input_.ConsumeIntegralInRange(0, 3)) {
        case 0:
            return input_.PickValueInArray(kTurns);
        case 1:
            return input_.ConsumeIntegral<int>();
        default:
            return input_.ConsumeIntegralInRange(-kLargest, kLargest);
        }
    }

    double Double() {
        constexpr double kInfinity = std::numeric_limits<double>::infinity();
        constexpr double kTurns[] = {0.0,          -0.0,          1.0,    -1.0,
                                     0.5,          255.0,         -255.0, 254.5,
                                     2147483647.0, -2147483649.0, 1e300,  -1e300,
                                     kInfinity,    -kInfinity,    5e-324, std::numeric_limits<double>::quiet_NaN()};
        switch (input_.ConsumeIntegralInRange(0, 2)) {
        case 0:
            return input_.PickValueInArray(kTurns);
        case 1:
            return input_.ConsumeFloatingPoint<double>();
        default:
            return input_.ConsumeFloatingPointInRange(-300.0, 300.0);
        }
    }

    Value Argument(const Parameter &parameter, bool rendersSamples) {
        if (parameter.byref && Rarely())
            return NoVariable{};
        switch (parameter.type) {
        case Type::Picture:
            return Picture();
        case Type::MemoryBlock:
            return Block();
        case Type::String:
            return Text();
        case Type::Boolean:
            return input_.ConsumeBool();
        case Type::Double:
            return Double();
        case Type::UInt32:
        case Type::Color:
            return input_.ConsumeBool() ? input_.ConsumeIntegral<std::uint32_t>()
                                        : input_.ConsumeIntegralInRange(0u, 60u);
        default:
            break;
        }
        const int value = Integer();
        // The one routine that makes pictures of any size: small ones, and those that it refuses.
        const bool isSize = SameName(parameter.name, "width") || SameName(parameter.name, "height");
        return rendersSamples && isSize && value <= 32767 ? std::abs(value % kLargest) : value;
    }

    /// What the heap grants while a routine runs.
    int Allocations() { return run_.poor ? 0 : Rarely() ? input_.ConsumeIntegralInRange(0, 3) : -1; }

    Ref Instance(const RegisteredClass &definition) {
        for (const Ref &instance : instances_)
            if (instance.instance().definition == &definition && !Rarely())
                return instance;
        const Ref made = host_.New(definition.name);
        instances_.push_back(made);
        if (!Rarely())
            host_.Set(made, "SourcePicture", Picture());
        return made;
    }

    void Access(const Routine &routine) {
        const Ref instance = Instance(*routine.definition);
        if (input_.ConsumeBool())
            host_.Set(instance, routine.property->name,
                      Argument({routine.property->name, routine.property->type, false, {}}, false));
        else
            host_.Get(instance, routine.property->name);
    }

    void Call(const Routine &routine) {
        const Declaration &declaration = routine.method->declaration;
        Value receiver;
        if (routine.definition)
            receiver = Instance(*routine.definition);
        else if (!routine.global)
            receiver = Picture();
        const bool rendersSamples = declaration.name.starts_with("RenderSamples");
        const bool sets = routine.method->record.setter && input_.ConsumeBool();
        std::vector<Value> arguments;
        for (const Parameter &parameter : declaration.parameters) {
            if (parameter.defaultText && Rarely())
                break;
            arguments.push_back(Argument(parameter, rendersSamples));
        }
        const Value assigned = sets ? Argument({"value", declaration.result, false, {}}, false) : Value();

        const bool ofPicture = receiver.Is<Ref>() && !routine.definition;
        if (ofPicture && (sets || declaration.name.starts_with("Scroll"))) {
            host_.MayChange(receiver.AsRef());
            if (standin::Picture *mask = receiver.AsPicture().mask)
                host_.MayChange(Ref(mask));
        }
        bool hasTarget = false;
        for (std::size_t i = 0; i < arguments.size(); ++i)
            if (arguments[i].Is<Ref>() &&
                (declaration.parameters[i].byref || declaration.parameters[i].name == "dest")) {
                host_.MayChange(arguments[i].AsRef());
                hasTarget = true;
            }

        const fuzz::HeapGrants grants(Allocations());
        const Result result =
            host_.CallRecord(*routine.method, routine.global, receiver, arguments, sets ? &assigned : nullptr);
        if (!result.value.Is<Ref>() || declaration.result != Type::Picture)
            return;
        const standin::Picture &made = result.picture();
        if (ofPicture && !hasTarget &&
            (made.width != receiver.AsPicture().width || made.height != receiver.AsPicture().height))
            fuzz::Finding(
                fmt::format("{} gives {} for {}", declaration.text, made.Describe(), receiver.AsPicture().Describe()));
        pictures_.push_back(result.value.AsRef());
    }

    fuzz::Run &run_;
    Host &host_;
    FuzzedDataProvider &input_;
    int width_ = 0;
    int height_ = 0;
    std::vector<Ref> pictures_;
    std::vector<Ref> blocks_;
    std::vector<Ref> instances_;
};

} // namespace

/// The input is a script of up to four calls of registered routines with any arguments. The host's audit after every
/// call is what must find nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::Run run;
    FuzzedDataProvider input(data, size);
    Script script(run, input);
    for (int left = input.ConsumeIntegralInRange(1, 4); left > 0; --left)
        script.Step();
    return 0;
}
