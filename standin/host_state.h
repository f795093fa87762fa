#pragma once

#include "standin/host.h"

#include <map>
#include <set>
#include <unordered_map>

namespace standin {

/// What the host knows of one of its entries.
struct EntryState {
    int requests = 0; ///< by the resolver
    int calls = 0;
    int missed = 0; ///< attempts that came to nothing: requests while missing, calls that a fault failed
};

/// The host behind the facade: its objects, its faults and what it found out. The entries work on the one that lives.
struct HostState {
    explicit HostState(HostDescription wanted);

    HostDescription description;
    std::unique_ptr<ModuleFile> module;
    std::map<std::string, EntryState, std::less<>> entries;
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

    void Violation(const std::string &sentence, Concern concern = Concern::Calls);

    // Objects.
    template <class Made> Made &Adopt(std::unique_ptr<Made> object, void *handle);
    Picture &NewPicture(PictureDescription wanted); ///< with one reference out
    Graphics &NewGraphics(Picture &picture);
    Text &NewText(std::string_view bytes, std::uint32_t encoding);
    MemoryBlock &NewBlock(std::size_t bytes);
    Instance &NewInstance(const RegisteredClass &definition);
    Exception &NewException(std::string_view className);
    /// The living object behind a handle that the module passed; null, with a violation, when it is none of that kind.
    template <class Wanted> Wanted *Find(const void *handle, std::string_view entry) {
        return static_cast<Wanted *>(Find(handle, Wanted::kKind, entry));
    }
    Object *FindObject(const void *handle, std::string_view entry); ///< any kind but a string
    const RegisteredClass *ClassNamed(std::string_view name) const;

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
    bool Missed(std::string_view entry) const;
    const Fault *FaultOf(std::string_view entry) const;
    /// Whether a failed typed lock leaves a lock behind, as hosts before 2012.0 do. The module goes by the version that
    /// it was told, so this host does too.
    bool LeavesFailedLocks() const { return !toldVersion || *toldVersion < 2012.0; }

    /// Compares what is out with what the host's side holds, reports what does not fit, and squares it.
    void Audit();

  private:
    Object *Find(const void *handle, Kind kind, std::string_view entry);
    void Die(Object &object);
    /// How often the picture fields of instances name an object. The module writes these fields too, so they are read
    /// when it counts.
    std::map<const Object *, int> HeldByFields();
};

extern HostState *gHost; ///< null while no host lives

/// Whether the host reads and writes the property's field itself.
bool UsesStandardAccess(const RegisteredProperty &property);

/// The field of a property with standard access. Instance data lies at any multiple of 4.
template <class Field> Field *FieldOf(Instance &instance, const RegisteredProperty &property) {
    return reinterpret_cast<Field *>(instance.memory.data() + instance.definition->record.dataOffset +
                                     property.record.param);
}

/// The resolver that the module receives.
void *Resolve(const char *name);

/// Reads the records of a registration as the host does.
RegisteredMethod ReadMethod(const REALmethodDefinition &record);
void ReadClass(RegisteredClass &out, const REALclassDefinition &record);

} // namespace standin
