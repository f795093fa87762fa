#include "standin/host_state.h"

#include "standin/arguments.h"
#include "standin/routine_call.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fmt/format.h>

namespace standin {

HostState *gHost;

namespace {

/// Handles of objects that the module must not look into point to memory that cannot be touched.
void *OpaqueHandle() {
    constexpr std::size_t kArena = 1 << 20;
    constexpr std::size_t kStep = 16;
    static std::vector<GuardedMemory> arenas; // all stay, so that no handle is ever used twice
    static std::size_t used = kArena;
    if (used == kArena) {
        arenas.emplace_back(kArena, Guard::Before).Seal();
        used = 0;
    }
    return arenas.back().data() + std::exchange(used, used + kStep);
}

} // namespace

std::span<unsigned char> FieldOf(const Instance &instance, const RegisteredProperty &property) {
    const std::uint32_t at = instance.definition->record.dataOffset + property.record.param;
    return {instance.memory.data() + at, property.type == Type::Picture ? sizeof(void *) : sizeof(std::int32_t)};
}

template <class Made> Made &HostState::Adopt(std::unique_ptr<Made> object) {
    object->number = ++objectsMade;
    object->references = 1;
    if (!object->handle)
        object->handle = OpaqueHandle();
    if (description.log && depth > 0) {
        const int which = ++madeForModule[object->kind];
        object->name = fmt::format("new {}", NameOf(object->kind)) + (which == 1 ? "" : fmt::format(" {}", which));
    }
    Made &made = *object;
    std::unique_ptr<Object> &kept = objects[made.handle];
    kept = std::move(object);
    living.push_back(kept.get());
    return made;
}

Picture &HostState::NewPicture(PictureDescription wanted) {
    const bool desktop = description.application == Application::Desktop;
    if (wanted.form == Form::OfHost)
        wanted.form = desktop ? Form::Bitmap : Form::Console;
    if (wanted.alphaInfo == 0)
        wanted.alphaInfo =
            wanted.hasAlphaChannel ? description.newAlphaPictureAlphaInfo : description.newPictureAlphaInfo;
    auto picture = std::make_unique<Picture>();
    constexpr int kMostSeals = 64;
    picture->sealsLeft = description.sealsPictures ? kMostSeals : 0;
    picture->Build(wanted, description.guard, description.scattersRows, description.freshWord);
    return Adopt(std::move(picture));
}

Graphics &HostState::NewGraphics(Picture &picture) {
    auto graphics = std::make_unique<Graphics>();
    graphics->picture = &picture;
    Hold(picture);
    return Adopt(std::move(graphics));
}

Text &HostState::NewText(std::string_view bytes, std::uint32_t encoding) {
    auto text = std::make_unique<Text>();
    text->storage = GuardedMemory(bytes.size() + 1, description.guard);
    text->storage.data()[0] = static_cast<unsigned char>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), text->storage.data() + 1);
    text->record.storage = reinterpret_cast<const char *>(text->storage.data());
    text->record.length = static_cast<std::int32_t>(bytes.size());
    text->encoding = encoding;
    text->handle = &text->record;
    return Adopt(std::move(text));
}

MemoryBlock &HostState::NewBlock(std::size_t bytes) {
    auto block = std::make_unique<MemoryBlock>();
    block->memory = GuardedMemory(bytes, description.guard);
    return Adopt(std::move(block));
}

Instance &HostState::NewInstance(const RegisteredClass &definition) {
    auto instance = std::make_unique<Instance>();
    instance->definition = &definition;
    instance->memory = GuardedMemory(description.dataOffset + definition.record.instanceSize, description.guard);
    instance->handle = instance->memory.data();
    return Adopt(std::move(instance));
}

Exception &HostState::NewException(std::string_view className) {
    auto exception = std::make_unique<Exception>();
    exception->content.className = className;
    return Adopt(std::move(exception));
}

Object *HostState::ObjectAt(const void *handle) const {
    const auto found = objects.find(handle);
    return found == objects.end() ? nullptr : found->second.get();
}

Object *HostState::Find(const void *handle, std::optional<Kind> wanted, std::string_view entry) {
    Object *object = ObjectAt(handle);
    const char *problem = nullptr;
    if (!object)
        problem = "no object of this host";
    else if (object->dead)
        problem = "dead";
    else if (object->kind == Kind::String && wanted != Kind::String)
        problem = "a string, not an object";
    else if (wanted && object->kind != wanted)
        problem = "the wrong kind of object";
    else
        return object;
    Violation(Concern::Calls, "{}: {} is {}", entry,
              object   ? object->Describe()
              : handle ? "the handle"
                       : "null",
              problem);
    return nullptr;
}

const Fault *HostState::FaultOf(std::string_view entry) const {
    const auto found = std::find_if(description.faults.begin(), description.faults.end(),
                                    [&](const Fault &fault) { return fault.entry == entry; });
    return found == description.faults.end() ? nullptr : &*found;
}

void HostState::DropReference(Object &object, std::string_view entry) {
    // While references could not be taken, fewer are out than the module gives back; nothing dies before the audit.
    const bool someNeverTaken = entries["REALLockObject"].missed > 0 || entries["REALLockString"].missed > 0;
    if (object.references <= object.held && !someNeverTaken)
        Violation(Concern::References, "{}: the last reference to {} that is not the module's to drop", entry,
                  object.Describe());
    --object.references;
    if (object.references <= 0 && object.held <= 0 && !someNeverTaken)
        Die(object);
}

bool HostState::FreeBlock(const void *block) {
    const auto found = heap.find(block);
    if (found == heap.end())
        return false;
    std::free(found->second);
    heap.erase(found);
    return true;
}

bool HostState::TakeBackCopy(const void *bytes, const Object *of) {
    const auto isIt = [&](const GuardedMemory &copy) { return static_cast<const void *>(copy.data()) == bytes; };
    return std::any_of(living.begin(), living.end(), [&](Object *object) { // the dead have given their copies back
        auto *text = As<Text>(object);
        return text && (!of || of == object) && std::erase_if(text->copies, isIt) > 0;
    });
}

void HostState::Hold(Object &object) {
    ++object.held;
    ++object.references;
}

void HostState::Release(Object &object) {
    --object.held;
    --object.references;
    if (object.references <= 0 && object.held <= 0 && !object.dead)
        Die(object);
}

void HostState::Die(Object &object) {
    object.dead = true;
    std::erase(living, &object);
    if (auto *picture = As<Picture>(&object)) {
        if (picture->locks > 0 && entries["unlockPictureDescription"].missed == 0)
            Violation(Concern::Locks, "{} dies with its pixels locked", picture->Describe());
        else
            locksOfDead += picture->locks;
        picture->memory = {};
        if (picture->mask)
            Release(*std::exchange(picture->mask, nullptr));
    } else if (auto *graphics = As<Graphics>(&object)) {
        Release(*graphics->picture);
    } else if (auto *block = As<MemoryBlock>(&object)) {
        block->memory = {};
    } else if (auto *instance = As<Instance>(&object)) {
        if (const REALroutine destructor = instance->definition->record.destructor) {
            const std::string outer = std::exchange(running, "the destructor of " + instance->definition->name);
            RoutineCall(description.stackShift, instance->handle).Run(destructor);
            running = outer;
        }
        instance->memory.Seal(); // stays mapped, so that its handle is not used again
    } else if (auto *text = As<Text>(&object)) {
        if (!text->copies.empty() && copiesRefused == 0)
            Violation(Concern::References, "{} dies with a copy of its bytes not given back", text->Describe());
        else
            copiesOfDead += static_cast<int>(text->copies.size());
        text->copies.clear();
    }
}

std::map<const Object *, int> HostState::HeldByFields() {
    std::map<const Object *, int> held;
    for (Object *object : living) {
        auto *instance = As<Instance>(object);
        for (std::size_t i = 0; instance && i < instance->definition->properties.size(); ++i) {
            const RegisteredProperty &property = instance->definition->properties[i];
            if (property.type != Type::Picture || !property.UsesStandardAccess())
                continue;
            void *const handle = ReadField(*instance, property).handle;
            const Object *named = ObjectAt(handle);
            if (named && !named->dead)
                ++held[named];
            else if (handle)
                Violation(Concern::References, "{} of {} names no living object", property.name, object->Describe());
        }
    }
    return held;
}

void HostState::Audit() {
    std::map<const Object *, int> inFields = HeldByFields();
    // Where an entry that takes or gives back was missing, the attempts are what must balance; the resolver saw each.
    const int neverTaken = entries["REALLockObject"].missed + entries["REALLockString"].missed;
    const int neverDropped = entries["REALUnlockObject"].missed + entries["REALUnlockString"].missed;
    const int neverUnlocked = entries["unlockPictureDescription"].missed;
    int references = 0;
    int locks = strayLocks + locksOfDead;
    int copies = copiesOfDead;
    for (Object *object : living) {
        const int owned = object->held + inFields[object];
        const int extra = object->references - owned;
        object->references = owned;
        references += extra;
        if (extra != 0 && neverTaken == 0 && neverDropped == 0)
            Violation(Concern::References, "{} has {} reference(s) too {}", object->Describe(), std::abs(extra),
                      extra > 0 ? "many" : "few");
        if (auto *picture = As<Picture>(object)) {
            locks += picture->locks;
            if (picture->locks != 0 && neverUnlocked == 0)
                Violation(Concern::Locks, "{} was left locked {} time(s)", picture->Describe(), picture->locks);
            picture->locks = 0;
        } else if (auto *text = As<Text>(object)) {
            copies += static_cast<int>(text->copies.size());
            text->copies.clear();
        }
    }
    if ((neverTaken > 0 || neverDropped > 0) && references != neverDropped - neverTaken)
        Violation(Concern::References, "{} reference(s) remain where {} could not be dropped and {} could not be taken",
                  references, neverDropped, neverTaken);
    if ((neverUnlocked > 0 || strayLocks > 0) && locks != neverUnlocked)
        Violation(Concern::Locks, "{} pixel lock(s) remain where {} could not be given back", locks, neverUnlocked);
    if (copies != copiesRefused)
        Violation(Concern::References, "{} copies of string bytes remain where {} could not be given back", copies,
                  copiesRefused);
    if (!heap.empty())
        Violation(Concern::Calls, "{} block(s) of the heap were not freed", heap.size());
    for (const auto &[block, memory] : heap)
        std::free(memory);
    heap.clear();
    strayLocks = locksOfDead = copiesOfDead = copiesRefused = 0;
    for (auto &[name, entry] : entries)
        entry.missed = 0;
    for (Object *object : std::vector<Object *>(living)) // what dies may take others with it
        if (object->references <= 0 && !object->dead)
            Die(*object);
}

} // namespace standin
