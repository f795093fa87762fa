#include "standin/host.h"

#include "standin/arguments.h"
#include "standin/host_state.h"
#include "standin/routine_call.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fmt/format.h>
#include <iterator>

namespace standin {

Ref::Ref(Object *object) {
    if (object)
        gHost->AddReference(*object);
    *this = Adopt(object);
}

Ref Ref::Adopt(Object *object) {
    Ref ref;
    if (!object)
        return ref;
    ++object->held;
    ref.object_ = {object, [](Object *held) {
                       if (gHost)
                           gHost->Release(*held);
                   }};
    return ref;
}

namespace {

/// Runs a routine of the module as the host does: watched, timed, audited afterwards.
template <class Body> Result RunRoutine(const std::string &declaration, Body body) {
    Result result;
    gHost->running = declaration;
    std::vector<std::pair<const Object *, std::optional<std::uint64_t>>> inputs; // that must not change
    for (Object *object : gHost->living) {
        // Until somebody looks at it: to open them all again after the call would take most of the time.
        if (auto *picture = As<Picture>(object))
            picture->Seal();
        if (gHost->description.watchesInputs && !gHost->mayChange.contains(object))
            inputs.emplace_back(object, object->Checksum());
    }
    gHost->timeInEntries = {};
    gHost->entered = 0;
    auto *activeLevel = static_cast<int *>(gHost->module->Internal("gActiveLevel"));
    if (activeLevel)
        *activeLevel = -1;
    const auto start = std::chrono::steady_clock::now();
    body(result);
    result.time = std::chrono::steady_clock::now() - start;
    result.timeInHost = gHost->timeInEntries;
    result.entered = gHost->entered;
    if (activeLevel && *activeLevel >= 0)
        gHost->levelsRun.insert(*activeLevel);
    if (Exception *pending = std::exchange(gHost->pending, nullptr)) {
        result.raised = pending->content;
        gHost->Release(*pending);
    }
    for (const auto &[object, sum] : inputs)
        if (!object->dead && object->Checksum() != sum)
            gHost->Violation(Concern::Inputs, "{} was changed", object->Describe());
    gHost->Audit();
    gHost->mayChange.clear();
    gHost->running.clear();
    return result;
}

// The heap as the module knows it. Its file may still use it while it is unloaded, when the host is gone.

/// A block that begins at a multiple of 16, as on any heap, but of no larger power of two: who needs more than that has
/// to make room for it. To the address sanitizer, whose blocks begin at multiples of 32, it ends where the request
/// does.
void *Lent(std::size_t size, void *allocate(std::size_t size)) {
    if (!gHost)
        return allocate(size);
    constexpr std::size_t kAlignment = 16;
    gHost->heapBytes += size;
    if (++gHost->heapRequests == gHost->description.refusedHeapRequest || size > SIZE_MAX - kAlignment)
        return nullptr;
    auto *memory = static_cast<unsigned char *>(allocate(size + kAlignment));
    if (!memory)
        return nullptr;
    unsigned char *block =
        reinterpret_cast<std::uintptr_t>(memory) % (2 * kAlignment) == 0 ? memory + kAlignment : memory;
    gHost->heap[block] = memory;
    return block;
}

void *Allocate(std::size_t size) { return Lent(size, std::malloc); }
void *AllocateCleared(std::size_t count, std::size_t size) {
    if (size > 0 && count > SIZE_MAX / size)
        return nullptr;
    return Lent(count * size, [](std::size_t bytes) { return std::calloc(1, bytes); });
}
void Free(void *memory) {
    if (!gHost)
        std::free(memory);
    // A host's copy of a string's bytes is of the same heap, for hosts that do not take them back themselves.
    else if (memory && !gHost->FreeBlock(memory) && !gHost->TakeBackCopy(memory))
        gHost->Violation(Concern::Memory, "free: no block of the heap, or freed already");
}

/// The methods that a receiver has; those of Picture for nil, too.
const std::vector<RegisteredMethod> &MethodsOf(const Value &receiver) {
    const bool isInstance = receiver.Is<Ref>() && receiver.AsRef().object()->kind == Kind::Instance;
    return isInstance ? receiver.AsRef().instance().definition->methods : gHost->pictureExtension.methods;
}

} // namespace

Host::Host(HostDescription description) : state_(std::make_unique<HostState>(std::move(description))) {
    if (gHost)
        throw std::logic_error("one host lives at a time");
    const std::string &file = state_->description.module;
    state_->module =
        std::make_unique<ModuleFile>(file.empty() ? ModuleBesideProgram() : file, state_->description.keepsModule);
    void *start = state_->module->Exported("REALPluginMain");
    if (!start)
        throw std::runtime_error(state_->module->path() + " exports no REALPluginMain");
    state_->module->Redirect("malloc", reinterpret_cast<void *>(Allocate));
    state_->module->Redirect("calloc", reinterpret_cast<void *>(AllocateCleared));
    state_->module->Redirect("free", reinterpret_cast<void *>(Free));
    gHost = state_.get();
    state_->running = "REALPluginMain";
    RoutineCall(state_->description.stackShift, reinterpret_cast<const void *>(Resolve))
        .Run(reinterpret_cast<void (*)()>(start));
    state_->running.clear();
    for (auto &[name, entry] : state_->entries) // faults count from the first routine on
        entry = {};
    state_->heapRequests = 0;
}

void Host::Finish() {
    state_->Audit();
    for (Object *object : state_->living) {
        object->dead = true;
        state_->Violation(Concern::References, "{} outlives the host", object->Describe());
    }
    state_->living.clear();
}

// Without memory for a sentence the program ends, which tells as much.
Host::~Host() { // NOLINT(bugprone-exception-escape)
    Finish();
    for (const Breach &violation : state_->violations)
        fmt::print(stderr, "the stand-in host: {}\n", violation.sentence);
    gHost = nullptr;
}

Ref Host::Make(const PictureDescription &description) { return Ref::Adopt(&state_->NewPicture(description)); }

Ref Host::MakeBlock(std::size_t bytes, std::span<const unsigned char> content) {
    MemoryBlock &block = state_->NewBlock(bytes);
    std::copy_n(content.begin(), std::min(bytes, content.size()), block.memory.data());
    return Ref::Adopt(&block);
}

Ref Host::MakeString(std::string_view bytes, std::uint32_t encoding) {
    return Ref::Adopt(&state_->NewText(bytes, encoding));
}

void Host::AttachMask(const Ref &picture, const Ref &mask) {
    state_->Hold(mask.picture());
    picture.picture().mask = &mask.picture();
}

Ref Host::New(std::string_view className) {
    for (const auto &definition : state_->classes) {
        if (!SameName(definition->name, className))
            continue;
        Ref ref = Ref::Adopt(&state_->NewInstance(*definition));
        if (const REALroutine constructor = definition->record.constructor)
            RunRoutine("the constructor of " + definition->name,
                       [&](Result &) { RoutineCall(state_->description.stackShift, ref.handle()).Run(constructor); });
        return ref;
    }
    throw WrongCall(fmt::format("no class is called \"{}\"", className));
}

Result Host::CallWith(const Value &receiver, std::string_view method, std::vector<Value> arguments) {
    const RegisteredMethod &chosen = Choose(MethodsOf(receiver), method, arguments);
    return CallRecord(chosen, false, receiver, std::move(arguments));
}

Result Host::CallGlobalWith(std::string_view method, std::vector<Value> arguments) {
    const RegisteredMethod &chosen = Choose(state_->globalMethods, method, arguments);
    return CallRecord(chosen, true, nullptr, std::move(arguments));
}

Result Host::Assign(const Value &receiver, std::string_view method, std::vector<Value> arguments,
                    const Value &assigned) {
    const RegisteredMethod &chosen = Choose(MethodsOf(receiver), method, arguments);
    if (!chosen.record.setter)
        throw WrongCall(fmt::format("{} cannot be assigned to", chosen.declaration.name));
    const Parameter value{"the assigned value", chosen.declaration.result, false, {}};
    if (const std::string problem = Misfit(value, assigned); !problem.empty())
        throw WrongCall(problem);
    return CallRecord(chosen, false, receiver, std::move(arguments), &assigned);
}

Result Host::CallRecord(const RegisteredMethod &method, bool global, const Value &receiver,
                        std::vector<Value> arguments, const Value *assigned) {
    const Declaration &declaration = method.declaration;
    for (std::size_t i = arguments.size(); i < declaration.parameters.size(); ++i)
        arguments.push_back(DefaultOf(declaration.parameters[i]));

    RoutineCall call(state_->description.stackShift);
    if (!global)
        call.Add(receiver.IsNil() ? nullptr : receiver.AsRef().handle());
    const auto add = [&](Type type, const Value &value) {
        const Variable passed = VariableOf(type, value);
        type == Type::Double ? call.Add(passed.number) : call.Add(passed.word);
    };
    std::vector<Variable> variables(arguments.size());
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const Parameter &parameter = declaration.parameters[i];
        if (!parameter.byref) {
            add(parameter.type, arguments[i]);
        } else if (arguments[i].Is<NoVariable>()) {
            call.Add(nullptr);
        } else {
            variables[i] = VariableOf(parameter.type, arguments[i]);
            call.Add(&variables[i]);
        }
    }
    if (assigned)
        add(declaration.result, *assigned);

    const REALroutine routine = assigned ? method.record.setter : method.record.function;
    const Type yields = assigned ? Type::Nothing : declaration.result;
    return RunRoutine(declaration.text, [&](Result &result) {
        Variable yielded = {};
        if (yields == Type::Double)
            yielded.number = call.Run<double>(routine);
        else
            yielded.word = call.Run(routine);
        result.value = ValueOf(yields, yielded);
        for (std::size_t i = 0; i < arguments.size(); ++i)
            if (declaration.parameters[i].byref && !arguments[i].Is<NoVariable>())
                result.byref.emplace_back(declaration.parameters[i].name,
                                          ReadBack(declaration.parameters[i].type, variables[i], arguments[i]));
    });
}

namespace {

const RegisteredProperty &PropertyOf(const Instance &instance, std::string_view name) {
    for (const RegisteredProperty &property : instance.definition->properties)
        if (SameName(property.name, name))
            return property;
    throw WrongCall(fmt::format("{} has no property \"{}\"", instance.definition->name, name));
}

} // namespace

Value Host::CallAccessor(const RegisteredProperty &property, const Ref &receiver, const Value *assigned) {
    const Declaration method = {property.name, property.name, {{"param", Type::Integer, false, {}}}, property.type};
    const RegisteredMethod accessors = {method, {property.record.getter, property.record.setter}};
    return CallRecord(accessors, false, receiver, {property.record.param}, assigned).value;
}

Value Host::Get(const Ref &ref, std::string_view name) {
    Instance &instance = ref.instance();
    const RegisteredProperty &property = PropertyOf(instance, name);
    if (!property.UsesStandardAccess())
        return CallAccessor(property, ref);
    const Variable held = ReadField(instance, property);
    return property.type == Type::Picture ? Value(Ref(state_->ObjectAt(held.handle))) : ValueOf(property.type, held);
}

void Host::Set(const Ref &ref, std::string_view name, const Value &value) {
    Instance &instance = ref.instance();
    const RegisteredProperty &property = PropertyOf(instance, name);
    if (const std::string problem = Misfit({property.name, property.type, false, {}}, value); !problem.empty())
        throw WrongCall(problem);
    if (!property.UsesStandardAccess()) {
        CallAccessor(property, ref, &value);
        return;
    }
    Object *old = property.type == Type::Picture ? state_->ObjectAt(ReadField(instance, property).handle) : nullptr;
    if (value.Is<Ref>())
        state_->AddReference(*value.AsRef().object());
    const Variable held = VariableOf(property.type, value);
    const std::span<unsigned char> field = FieldOf(instance, property);
    std::memcpy(field.data(), &held, field.size());
    if (old)
        state_->DropReference(*old, property.name);
}

void Host::MayChange(const Ref &object) { state_->mayChange.insert(object.object()); }

const std::vector<RegisteredMethod> &Host::GlobalMethods() const { return state_->globalMethods; }
const std::vector<RegisteredMethod> &Host::PictureMethods() const { return state_->pictureExtension.methods; }
const std::vector<std::unique_ptr<RegisteredClass>> &Host::Classes() const { return state_->classes; }
const RegisteredClass &Host::PictureExtension() const { return state_->pictureExtension; }
const std::vector<std::string> &Host::StartUpLog() const { return state_->startUpLog; }
const HostDescription &Host::description() const { return state_->description; }

std::vector<Breach> Host::TakeBreaches() { return std::exchange(state_->violations, {}); }

std::vector<std::string> Host::TakeViolations() {
    std::vector<std::string> sentences;
    for (Breach &breach : TakeBreaches())
        sentences.push_back(std::move(breach.sentence));
    return sentences;
}

EntryState Host::StateOf(std::string_view entry) const {
    const auto found = state_->entries.find(entry);
    return found == state_->entries.end() ? EntryState() : found->second;
}

int Host::HeapRequests() const { return state_->heapRequests; }
std::size_t Host::HeapBytes() const { return state_->heapBytes; }

std::size_t Host::LivingObjects() const { return state_->living.size(); }

bool Host::ForceLevel(int level) {
    auto *forced = static_cast<int *>(state_->module->Internal("gForcedLevel"));
    if (!forced)
        return false;
    *forced = level;
    TakeLevelsRun();
    const Ref probe = Make({});
    // Saturation has a form for every level.
    if (std::any_of(PictureMethods().begin(), PictureMethods().end(),
                    [](const auto &method) { return method.declaration.name == "ChangeSaturationKVT"; }))
        Call(probe, "ChangeSaturationKVT", 1);
    else
        Call(probe, "isWhiteKVT");
    const std::set<int> levels = TakeLevelsRun();
    return level < 0 || levels == std::set<int>{level};
}

std::set<int> Host::TakeLevelsRun() { return std::exchange(state_->levelsRun, {}); }

} // namespace standin
