#include "standin/host_state.h"

#include <algorithm>
#include <stdexcept>

namespace standin {
namespace {

/// Class and extension records have room for two tables of each kind.
template <class Out, class Record, class Read>
void ReadTable(std::vector<Out> &out, const Record *records, std::int32_t count, Read read) {
    for (std::int32_t i = 0; records && i < count; ++i)
        out.push_back(read(records[i]));
}

/// Empty, with a violation, for what is no declaration. Every host reads the same ones: each is parsed once and kept.
const Declaration &Parsed(std::string_view text) {
    static std::map<std::string, Declaration, std::less<>> known;
    static const Declaration kNone;
    try {
        const auto found = known.find(text);
        return found != known.end() ? found->second : known.emplace(text, ParseDeclaration(text)).first->second;
    } catch (const std::invalid_argument &problem) {
        gHost->Violation(Concern::Calls, "{}", problem.what());
        return kNone;
    }
}

RegisteredProperty ReadProperty(const REALpropertyDefinition &record) {
    const auto &unused = record.unused7to9;
    if (record.unused0 != 0 || std::any_of(std::begin(unused), std::end(unused), [](auto word) { return word != 0; }))
        gHost->Violation(Concern::Calls, "the record of property {} has words that are not zero", record.name);
    return {record.name, Parsed(std::string("property as ") + record.type).result, record};
}

} // namespace

RegisteredMethod ReadMethod(const REALmethodDefinition &record) { return {Parsed(record.declaration), record}; }

void ReadClass(RegisteredClass &out, const REALclassDefinition &record) {
    constexpr std::uint32_t kVersion = 9;
    out.name = record.name;
    out.record = record;
    const auto &unused = record.unused11to19;
    if (record.version != kVersion || record.unused2 != 0 ||
        std::any_of(std::begin(unused), std::end(unused), [](auto word) { return word != 0; }))
        gHost->Violation(Concern::Calls, "the record of class {} has another version or words that are not zero",
                         out.name);
    ReadTable(out.properties, record.properties, record.propertyCount, ReadProperty);
    ReadTable(out.properties, record.moreProperties, record.morePropertyCount, ReadProperty);
    ReadTable(out.methods, record.methods, record.methodCount, ReadMethod);
    ReadTable(out.methods, record.moreMethods, record.moreMethodCount, ReadMethod);
}

} // namespace standin
