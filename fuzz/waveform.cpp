#include "expected/waveform.h"

#include "conformance/choices.h"
#include "fuzz/run.h"

namespace {

using conformance::Choices;

/// Any number, more often a usual one.
int Number(Choices &input, int usual) { return input.OneIn(2) ? input.Number() : input.Between(-2, usual); }

/// A number above `most` is brought below it, since it costs time and shows little.
int Limited(int number, int most) { return number > most ? number % most : number; }

/// A size that makes a small picture, or none at all. The default, below 1, is large and therefore rare.
int Size(Choices &input) {
    constexpr int kLargest = 60;
    const int size = Number(input, kLargest);
    if (size > 32767 || (size < 1 && input.OneIn(16)))
        return size;
    return size < 1 ? 1 - size % kLargest : Limited(size, kLargest);
}

} // namespace

/// The input is every parameter, then the samples: the waveform is that of the plain computation, to the last pixel and
/// line.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    fuzz::Run run;
    Choices input(std::span(data, size));
    run.AtLevel(input.Between(-1, 2));
    expected::WaveformArguments with;
    with.sampleCount = Number(input, 400);
    with.smooth = Number(input, 20);
    with.width = Size(input);
    with.height = Size(input);
    const bool isLarge = with.width < 1 || with.height < 1;
    const bool anyPen = input.OneIn(16);
    with.outlineWidth = Limited(Number(input, 3), isLarge ? 3 : anyPen ? std::numeric_limits<int>::max() : 20);
    with.backColor = input.Word();
    with.foreColor = input.Word();
    with.outlineColor = input.Word();
    constexpr int kDepths[] = {7, 8, 15, 16};
    with.bits = input.OneIn(2) ? Number(input, 32) : input.Of(kDepths);
    with.autoScale = input.OneIn(2);
    const bool nil = input.OneIn(64);
    const std::vector<unsigned char> samples(input.Rest().begin(), input.Rest().end());

    const standin::Value block = nil ? standin::Value() : run.host.MakeBlock(samples.size(), samples);
    const standin::Result result = run.CallGlobal(
        "RenderSamplesKVT", {block, with.sampleCount, with.smooth, with.width, with.height, with.outlineWidth,
                             with.backColor, with.foreColor, with.outlineColor, with.bits, with.autoScale});
    if (result.raised.has_value() != nil)
        fuzz::Finding(nil ? "nil samples raise no exception" : "an exception was raised");
    const expected::Waveform wanted = expected::RenderSamples(samples, with);
    const bool made = wanted.made && !nil && !run.poor;
    if (result.value.IsNil() == made)
        fuzz::Finding(made ? "no waveform was made" : "a waveform was made");
    if (!made)
        return 0;
    const std::vector<standin::DrawnLine> &lines = result.picture().lines;
    if (lines.size() != wanted.segments.size())
        fuzz::Finding("the outline has another number of lines");
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const expected::Segment &segment = wanted.segments[i];
        if (lines[i] != standin::DrawnLine{static_cast<int>(segment.x0), static_cast<int>(segment.y0),
                                           static_cast<int>(segment.x1), static_cast<int>(segment.y1),
                                           with.outlineWidth, with.outlineWidth, with.outlineColor & 0xFFFFFF})
            fuzz::Finding("the outline has another line");
    }
    if (lines.empty()) // else the host has drawn over it
        fuzz::ExpectPicture(result.picture(), wanted.picture);
    return 0;
}
