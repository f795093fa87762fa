#pragma once

#include "standin/host.h"

#include <fmt/format.h>
#include <map>
#include <set>
#include <unordered_map>

namespace standin {

/// The host behind the facade: its objects, its faults and what it found out. The entries work on the one that lives.
struct HostState {
    explicit HostState(HostDescription wanted) : description(std::move(wanted)) {}

    HostDescription description;
    std::unique_ptr<ModuleFile> module;
    std::map<std::string_view, EntryState> entries; ///< by names that stay, those of the entries' table
    std::unordered_map<const void *, std::unique_ptr<Object>> objects; ///< by handle; dead ones stay known
    std::vector<Object *> living;                                      ///< in the order in which they were made
    int objectsMade = 0;
    std::vector<Breach> violations;
    std::string running; ///< the declaration of the routine that runs

    std::vector<RegisteredMethod> globalMethods;
    RegisteredClass pictureExtension;
    std::vector<std::unique_ptr<RegisteredClass>> classes;
    std::vector<std::string> startUpLog;
    std::optional<double> toldVersion;

    Exception *pending = nullptr; ///< holds a reference
    std::set<const Object *> mayChange;
    int strayLocks = 0;  ///< pixel locks that were attempted in vain and will be given back all the same
    int locksOfDead = 0; ///< of pictures that died while locks could not be given back; the same for strings' copies
    int copiesOfDead = 0;
    int copiesRefused = 0; ///< that the module tried to give back in vain
    int heapRequests = 0;  ///< of the module, since start-up
    std::size_t heapBytes = 0;
    std::set<int> levelsRun;
    std::unordered_map<const void *, void *> heap; ///< blocks lent to the module: what the real heap knows them as
    std::chrono::nanoseconds timeInEntries = {};
    int entered = 0; ///< how often the module called an entry
    int depth = 0;   ///< of entries within entries
    std::map<Kind, int> madeForModule;

    template <class... Values>
    void Violation(Concern concern, fmt::format_string<const Values &...> sentence, const Values &...values) {
        const std::string place = running.empty() ? "" : "; in " + running;
        violations.push_back({concern, fmt::format(sentence, values...) + place});
    }

    // Objects.
    template <class Made> Made &Adopt(std::unique_ptr<Made> object);
    Picture &NewPicture(PictureDescription wanted); ///< with one reference out
    Graphics &NewGraphics(Picture &picture);
    Text &NewText(std::string_view bytes, std::uint32_t encoding);
    MemoryBlock &NewBlock(std::size_t bytes);
    Instance &NewInstance(const RegisteredClass &definition);
    Exception &NewException(std::string_view className);
    Object *ObjectAt(const void *handle) const; ///< the object of that handle, dead or alive; null when there is none
    /// The living object behind a handle that the module passed to an entry, which takes that kind, or none: any but
    /// strings. Null, with a violation, when it is no such object.
    Object *Find(const void *handle, std::optional<Kind> wanted, std::string_view entry);

    void AddReference(Object &object) { ++object.references; }
    void DropReference(Object &object, std::string_view entry);
    /// The host's own side takes or gives back one.
    void Hold(Object &object);
    void Release(Object &object);

    /// Frees a block lent to the module; false when it is none.
    bool FreeBlock(const void *block);
    /// Takes back a copy of a string's bytes; false when it is none, or not of that string.
    bool TakeBackCopy(const void *bytes, const Object *of = nullptr);

    // Faults.
    const Fault *FaultOf(std::string_view entry) const;
    /// Whether a failed typed lock leaves a lock behind, as hosts before 2012.0 do. The module goes by the version that
    /// it was told, so this host does too.
    bool LeavesFailedLocks() const { return !toldVersion || *toldVersion < 2012.0; }

    /// Compares what is out with what the host's side holds, reports what does not fit, and squares it.
    void Audit();

  private:
    void Die(Object &object);
    /// How often the picture fields of instances name an object. The module writes these fields too, so they are read
    /// when it counts.
    std::map<const Object *, int> HeldByFields();
};

extern HostState *gHost; ///< null while no host lives

/// The field of a property with standard access, at any multiple of 4: a picture's handle or a 32-bit integer.
std::span<unsigned char> FieldOf(const Instance &instance, const RegisteredProperty &property);

/// The resolver that the module receives.
void *Resolve(const char *name);

/// Reads the records of a registration as the host does.
RegisteredMethod ReadMethod(const REALmethodDefinition &record);
void ReadClass(RegisteredClass &out, const REALclassDefinition &record);

} // namespace standin
