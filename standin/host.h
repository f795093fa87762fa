#pragma once

#include "standin/declaration.h"
#include "standin/module_file.h"
#include "standin/objects.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

/// A host that loads the real module and plays its part strictly: every reference and pixel lock is counted, every
/// entry checks what it is called with, and what the module does wrong is kept as a sentence. One host lives at a time.
namespace standin {

/// Which kind of application runs, by the classes that it has.
enum class Application { Desktop, Console, Web, Unknown };

/// What is wrong with one host entry.
struct Fault {
    enum What {
        Missing,   ///< the resolver never has it
        Late,      ///< the resolver has it from the second request on
        Fails,     ///< call number `call` (from 1) yields the entry's missing result and does nothing
        WideFalse, ///< every call yields 0x100, whose low 8 bits are false, and does nothing
    };
    std::string entry;
    What what = Missing;
    int call = 0;
};

/// Everything that can be said of a host; the defaults make the ordinary one.
struct HostDescription {
    Application application = Application::Desktop;
    std::optional<double> version = 2019.03; ///< none: the host has no "REALGetRBVersion"
    std::uint32_t newPictureAlphaInfo = 6;   ///< of the bitmaps that the host makes
    std::uint32_t newAlphaPictureAlphaInfo = 2;
    int newPicturePadding = 0;
    std::uint32_t freshWord = 0x5EEDC0DE;                     ///< what a new picture's pixels hold
    std::uint32_t dataOffset = sizeof(void *) == 4 ? 20 : 24; ///< where a class's data lies inside an instance: any
                                                              ///< multiple of 4, of 8 for a module of 64 bits
    int stackShift = 0; ///< bytes that routines find the stack off 16-byte alignment: 4, 8 or 12, on 32-bit x86 alone
    int refusedHeapRequest = 0; ///< number of the module's heap request (from 1) that is refused; 0: none
    std::vector<Fault> faults = {};
    std::vector<std::string> moreClasses = {}; ///< beside the one that `application` stands for
    Guard guard = Guard::After;
    bool watchesInputs = true;  ///< after every call, reports pictures, blocks and strings that changed and were not to
    bool scattersRows = true;   ///< of console pictures; rows in order are what a benchmark wants
    bool sealsPictures = false; ///< pixels are inaccessible while they are not locked; see Picture::Seal
    std::string module = {};    ///< the module's file; empty: the one beside the program
    bool keepsModule = false;   ///< in memory, for the next host of this process, if it can be; see ModuleFile
    /// The log: told of every call of an entry as it comes, by the entry, the objects' names and the telling arguments,
    /// and of a request for an entry or method that this host does not have, as "no" and its name. Objects that the
    /// module had made are called new, in the order of their making: "new picture", "new picture 2".
    std::function<void(const std::string &call)> log = {};
};

/// One reference that the script side holds; null is nil. Ends before its host does.
class Ref {
  public:
    Ref() = default;
    explicit Ref(Object *object);     ///< takes one more reference
    static Ref Adopt(Object *object); ///< takes over one that is already counted as out

    explicit operator bool() const { return object_ != nullptr; }
    bool operator==(const Ref &) const = default;
    Object *object() const { return object_.get(); }
    void *handle() const { return object_ ? object_->handle : nullptr; }
    Picture &picture() const { return As<Picture>(); }
    MemoryBlock &block() const { return As<MemoryBlock>(); }
    Text &text() const { return As<Text>(); }
    Instance &instance() const { return As<Instance>(); }

  private:
    template <class Wanted> Wanted &As() const {
        if (auto *object = standin::As<Wanted>(object_.get()))
            return *object;
        throw std::logic_error(std::string("not a ") + NameOf(Wanted::kKind));
    }
    std::shared_ptr<Object> object_; ///< copies share the one reference
};

/// In place of a `byref` argument: the module receives a null pointer.
struct NoVariable {
    bool operator==(const NoVariable &) const = default;
};

/// A value as scripts know it. Nothing (std::monostate) is nil, or the result of a method without one.
class Value {
  public:
    Value() = default;
    Value(std::nullptr_t) {}
    Value(int value) : held_(std::int64_t{value}) {}
    Value(unsigned value) : held_(std::int64_t{value}) {}
    Value(std::int64_t value) : held_(value) {}
    Value(double value) : held_(value) {}
    Value(bool value) : held_(value) {}
    Value(NoVariable value) : held_(value) {}
    Value(Ref value) {
        if (value)
            held_ = std::move(value);
    }

    template <class Wanted> bool Is() const { return std::holds_alternative<Wanted>(held_); }
    bool IsNil() const { return Is<std::monostate>(); }
    const Ref &AsRef() const { return std::get<Ref>(held_); }
    Picture &AsPicture() const { return AsRef().picture(); }
    std::int64_t AsInteger() const { return std::get<std::int64_t>(held_); }
    double AsDouble() const { return Is<double>() ? std::get<double>(held_) : static_cast<double>(AsInteger()); }
    bool AsBoolean() const { return std::get<bool>(held_); }

  private:
    std::variant<std::monostate, std::int64_t, double, bool, NoVariable, Ref> held_;
};

struct Result {
    Value value;
    std::vector<std::pair<std::string, Value>> byref; ///< variables by parameter name, after the call
    std::optional<RaisedException> raised;
    std::chrono::nanoseconds time = {};       ///< of the call as a whole
    std::chrono::nanoseconds timeInHost = {}; ///< of it, inside host entries
    int entered = 0;                          ///< how often the module called an entry

    Picture &picture() const { return value.AsPicture(); }
};

/// What a violation is about.
enum class Concern {
    Calls,      ///< an entry was asked for or called as none is
    References, ///< to objects and strings, and copies of a string's bytes
    Locks,      ///< of pixels
    Memory,     ///< that was not lent for writing
    Inputs,     ///< that were only to be read
};

struct Breach {
    Concern concern;
    std::string sentence;
};

/// A call that does not fit any declaration; the text says what was expected.
struct WrongCall : std::runtime_error {
    using runtime_error::runtime_error;
};

/// A record as the host read it at registration.
struct RegisteredMethod {
    const Declaration &declaration; ///< kept elsewhere, while this is used
    REALmethodDefinition record;
};
struct RegisteredProperty {
    std::string name;
    Type type;
    REALpropertyDefinition record;

    /// Whether the host reads and writes the field itself.
    bool UsesStandardAccess() const { return reinterpret_cast<std::intptr_t>(record.getter) == -1; }
};
struct RegisteredClass {
    std::string name;
    REALclassDefinition record;
    std::vector<RegisteredProperty> properties;
    std::vector<RegisteredMethod> methods;
};

/// What the host knows of one of its entries.
struct EntryState {
    int requests = 0; ///< how often the resolver was asked for it
    int calls = 0;
    int missed = 0; ///< attempts that came to nothing: requests while missing, calls that a fault failed
};

struct HostState;

class Host {
  public:
    /// Loads the module afresh and lets it register itself.
    explicit Host(HostDescription description = {});
    /// Finishes and unloads the module. Violations that nobody looked at are written to standard error.
    ~Host(); // NOLINT(bugprone-exception-escape)
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    // Objects.
    Ref Make(const PictureDescription &description);
    Ref MakeBlock(std::size_t bytes, std::span<const unsigned char> content = {});
    Ref MakeString(std::string_view bytes, std::uint32_t encoding = 0x08000100);
    void AttachMask(const Ref &picture, const Ref &mask);
    Ref New(std::string_view className); ///< an instance; throws WrongCall when no such class is registered

    // Calls. A null receiver calls a method of Picture on nil. Arguments that are left out take their declared
    // defaults. Throws WrongCall when nothing fits.
    template <class... Arguments> Result Call(const Value &receiver, std::string_view method, Arguments... arguments) {
        return CallWith(receiver, method, {Value(arguments)...});
    }
    template <class... Arguments> Result CallGlobal(std::string_view method, Arguments... arguments) {
        return CallGlobalWith(method, {Value(arguments)...});
    }
    Result CallWith(const Value &receiver, std::string_view method, std::vector<Value> arguments);
    Result CallGlobalWith(std::string_view method, std::vector<Value> arguments);
    /// `receiver.method(arguments) = assigned`
    Result Assign(const Value &receiver, std::string_view method, std::vector<Value> arguments, const Value &assigned);
    /// The method record itself, for those who choose among overloads on their own. `receiver` is nil for a global one.
    Result CallRecord(const RegisteredMethod &method, bool global, const Value &receiver, std::vector<Value> arguments,
                      const Value *assigned = nullptr);
    Value Get(const Ref &instance, std::string_view property);
    void Set(const Ref &instance, std::string_view property, const Value &value);

    /// Lets the next call change an object's pixels or bytes.
    void MayChange(const Ref &object);

    // What was registered, in the host's order.
    const std::vector<RegisteredMethod> &GlobalMethods() const;
    const std::vector<RegisteredMethod> &PictureMethods() const;
    const std::vector<std::unique_ptr<RegisteredClass>> &Classes() const;
    const RegisteredClass &PictureExtension() const;
    const std::vector<std::string> &StartUpLog() const; ///< what the module asked for at start-up, a line each

    /// Audits for the last time: by now nobody holds an object any more.
    void Finish();

    // What happened. Violations are sentences; Take leaves none behind.
    std::vector<std::string> TakeViolations();
    std::vector<Breach> TakeBreaches(); ///< the same, with what they are about
    int RequestsFor(std::string_view entry) const { return StateOf(entry).requests; }
    int CallsOf(std::string_view entry) const { return StateOf(entry).calls; }
    std::size_t LivingObjects() const;
    int HeapRequests() const; ///< how often a routine of the module asked the heap for memory

    /// Forces an instruction-set level (0 baseline, 1 AVX2, 2 AVX-512; -1 the best); false when the module was stripped
    /// of the symbol or the processor lacks the level.
    bool ForceLevel(int level);
    std::set<int> TakeLevelsRun(); ///< those that vector code ran at since the last time
    std::size_t HeapBytes() const; ///< that routines asked the heap for

    const HostDescription &description() const;

  private:
    /// Reads or sets a property by its own accessors, which take its record's number.
    Value CallAccessor(const RegisteredProperty &property, const Ref &receiver, const Value *assigned = nullptr);
    EntryState StateOf(std::string_view entry) const;

    std::unique_ptr<HostState> state_;
};

/// The names of all host entries, including the methods that are found through others ("Picture.Constructor",
/// "Graphics.DrawPicture", "LenB"), and whether they yield a boolean.
struct EntryName {
    std::string_view name;
    bool yieldsBoolean;
};
std::vector<EntryName> EntryNames();

} // namespace standin
