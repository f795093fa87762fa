#include "expected/output.h"

#include "fuzz/run.h"

#include <fmt/format.h>

namespace {

/// Makes a finding when the host's picture is another one.
void ExpectPicture(const standin::Picture &found, const expected::Picture &wanted) {
    if (found.width != wanted.width || found.height != wanted.height)
        fuzz::Finding(fmt::format("{}, not {} x {}", found.Describe(), wanted.width, wanted.height));
    const bool console = found.description.form == standin::Form::Console;
    const expected::Layout layout = expected::LayoutOf(console ? 8 : static_cast<int>(found.description.alphaInfo));
    for (int y = 0; y < wanted.height; ++y)
        for (int x = 0; x < wanted.width; ++x)
            if (const std::uint32_t word = expected::OpaqueWord(wanted.At(x, y), layout); found.Word(x, y) != word)
                fuzz::Finding(fmt::format("({}, {}) holds 0x{:08X}, not 0x{:08X}", x, y, found.Word(x, y), word));
}

} // namespace

/// The input is a byte string: reading it gives exactly the picture that it holds or nil, and writing that picture
/// gives the bytes that the plain computation gives.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::Run run;
    run.AtLevel(static_cast<int>(size % 4) - 1);
    const std::string bytes(reinterpret_cast<const char *>(data), size);
    const standin::Value text = run.host.MakeString(bytes);
    const standin::Result read = run.CallGlobal("BinaryStringtoPictureKVT", {text});
    if (read.raised)
        fuzz::Finding("an exception was raised");
    const std::optional<expected::Picture> wanted = expected::PictureOf(bytes);
    if (read.value.IsNil() != (!wanted || run.poor))
        fuzz::Finding(wanted ? "a picture was refused" : "a picture came from a wrong string");
    if (!read.value.IsNil())
        ExpectPicture(read.picture(), *wanted);

    standin::Value picture = read.value;
    if (wanted && run.poor) // this host's picture, so that the heap is what refuses
        picture = run.host.Make({.width = wanted->width, .height = wanted->height});
    const standin::Result written = run.CallGlobal("PicturetoBinaryStringKVT", {picture});
    if (written.value.IsNil() != read.value.IsNil())
        fuzz::Finding("a picture cannot be written");
    if (wanted && !run.poor && written.value.AsRef().text().bytes() != expected::BytesOf(*wanted))
        fuzz::Finding("other bytes were written");
    return 0;
}
