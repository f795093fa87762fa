#include "expected/output.h"

#include "fuzz/run.h"

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
        fuzz::ExpectPicture(read.picture(), *wanted);

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
