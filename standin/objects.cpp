#include "standin/objects.h"

#include "standin/host.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fmt/format.h>

namespace standin {
namespace {

/// What the bytes between, before and behind rows hold.
constexpr unsigned char kBorder = 0xA5;

constexpr int kPixelBytes = 4;

Layout LayoutOf(Form form, std::uint32_t alphaInfo) {
    return form == Form::Console ? Layout::RowTable : alphaInfo % 2 == 1 ? Layout::AlphaHigh : Layout::AlphaLow;
}

/// Where a row lies among the others when rows are scattered, so that nobody reaches one from another.
int ScatteredSlot(int row, int height) { return row % 2 == 0 ? height - 1 - row / 2 : row / 2; }

std::uint64_t Mix(std::uint64_t sum, const GuardedMemory &memory) {
    constexpr std::uint64_t kPrime = 0x9E3779B97F4A7C15;
    const unsigned char *bytes = memory.data();
    std::size_t count = memory.size();
    for (; count >= 8; bytes += 8, count -= 8) {
        std::uint64_t word;
        std::memcpy(&word, bytes, 8);
        sum = (sum ^ word) * kPrime;
        sum ^= sum >> 29;
    }
    for (; count > 0; ++bytes, --count)
        sum = (sum ^ *bytes) * kPrime;
    return sum;
}

/// The address of memory that cannot be touched.
void *Untouchable() {
    static GuardedMemory page(64, Guard::Before);
    page.Seal();
    return page.data();
}

const char *FormName(const PictureDescription &description) {
    constexpr const char *kAlphaInfos[] = {"unknown",     "premultiplied last", "premultiplied first", "alpha last",
                                           "alpha first", "last byte skipped",  "first byte skipped",  "unknown"};
    return description.form == Form::Console         ? "console"
           : description.form == Form::GraphicsWorld ? "graphics world"
                                                     : kAlphaInfos[description.alphaInfo & 7];
}

} // namespace

const char *NameOf(Kind kind) {
    constexpr const char *kNames[] = {"picture", "drawing surface", "memory block", "string", "instance", "exception"};
    return kNames[static_cast<int>(kind)];
}

std::string Object::Describe() const {
    std::string what = NameOf(kind);
    std::string details;
    if (const auto *picture = As<Picture>(this))
        details = fmt::format(" ({} x {}, {})", picture->width, picture->height, FormName(picture->description));
    else if (const auto *block = As<MemoryBlock>(this))
        details = fmt::format(" ({} bytes)", block->memory.size());
    else if (const auto *text = As<Text>(this))
        details = fmt::format(" ({} bytes)", text->record.length);
    else if (const auto *exception = As<Exception>(this))
        what = exception->content.className;
    else if (const auto *instance = As<Instance>(this))
        what = instance->definition->name;
    return fmt::format("{} #{}{}", what, number, details);
}

std::optional<std::uint64_t> Object::Checksum() const {
    if (const auto *picture = As<Picture>(this))
        return picture->memory.sealed() ? picture->sealedSum : Mix(0, picture->memory);
    if (const auto *block = As<MemoryBlock>(this))
        return Mix(0, block->memory);
    if (const auto *text = As<Text>(this))
        return Mix(text->encoding, text->storage);
    return std::nullopt;
}

std::string_view Text::bytes() const { return {record.storage + 1, static_cast<std::size_t>(record.length)}; }

unsigned char *Picture::Row(int y) const {
    memory.Open();
    return memory.data() + (scattersRows ? ScatteredSlot(y, height) : y) * pitch;
}

std::uint32_t Picture::Word(int x, int y) const {
    std::uint32_t word;
    std::memcpy(&word, Row(y) + std::ptrdiff_t{x} * kPixelBytes, sizeof word);
    return word;
}

void Picture::SetWord(int x, int y, std::uint32_t word) {
    std::memcpy(Row(y) + std::ptrdiff_t{x} * kPixelBytes, &word, sizeof word);
}

void Picture::Build(const PictureDescription &wanted, Guard side, bool scatterRows, std::uint32_t freshWord) {
    description = wanted;
    width = wanted.width;
    height = wanted.height;
    layout = LayoutOf(wanted.form, wanted.alphaInfo);
    // Console rows have borders even when nobody asks for padding.
    pitch = std::ptrdiff_t{width} * kPixelBytes + wanted.rowPadding + (wanted.form == Form::Console ? 8 : 0);
    const std::size_t bytes = static_cast<std::size_t>(pitch) * static_cast<std::size_t>(height);
    memory = GuardedMemory(bytes, side);
    scattersRows = wanted.form == Form::Console && scatterRows;
    const std::ptrdiff_t used = std::ptrdiff_t{width} * kPixelBytes;
    const bool isFresh = !wanted.word && !wanted.color && !wanted.unset;
    rowTable.clear();
    for (int y = 0; y < height; ++y) {
        std::memset(Row(y) + used, wanted.numbersPadding ? y : kBorder, static_cast<std::size_t>(pitch - used));
        if (isFresh)
            std::fill_n(reinterpret_cast<std::uint32_t *>(Row(y)), width, freshWord);
        for (int x = 0; !wanted.unset && !isFresh && x < width; ++x)
            SetWord(x, y, wanted.word ? wanted.word(x, y) : OpaqueWord(layout, wanted.color(x, y)));
        const bool isUntouchable = wanted.untouchableRow >= 0 && y >= wanted.untouchableRow;
        rowTable.push_back(y == wanted.nullRow ? nullptr : isUntouchable ? Untouchable() : Row(y));
    }
    rowTable.push_back(nullptr); // so that a picture without rows has a table too
    handedRows = rowTable;
    context = {wanted.withoutPixels ? nullptr : memory.data(),
               wanted.bitsPerPixel,
               static_cast<std::size_t>(width),
               static_cast<std::size_t>(height),
               wanted.bytesPerRow.value_or(static_cast<std::size_t>(pitch)),
               wanted.alphaInfo};
    constexpr int kLargest = INT16_MAX; // drawing coordinates have 16 bits
    world = {memory.data(),
             static_cast<std::int32_t>(pitch),
             {0, 0, static_cast<std::int16_t>(std::min(height, kLargest)),
              static_cast<std::int16_t>(std::min(width, kLargest))},
             OpaqueWord(layout, wanted.background)};
    consoleRecord.paletteRows = wanted.paletteRows;
    consoleRecord.width = width;
    consoleRecord.height = height;
    consoleRecord.trueColor = wanted.trueColor;
    consoleRecord.rows = wanted.withoutPixels ? nullptr : rowTable.data();
}

void Picture::Lock(REALpictureDescription &out) {
    ++locks;
    memory.Open();
    constexpr std::int32_t kJunk = 0x7A7A7A7A; // in the fields that this type of description does not fill
    void *const unread = reinterpret_cast<void *>(std::uintptr_t{kJunk});
    out = {8, &context, kJunk, kJunk, {unread, unread}};
    if (description.form == Form::Console)
        out = {10, &consoleRecord, width, height, {unread, unread}};
    if (description.form == Form::GraphicsWorld)
        out = {4, &world, width, height, {unread, unread}};
    if (description.describedType)
        out.type = *description.describedType;
    if (description.withoutData)
        out.data = nullptr;
}

bool Picture::BordersIntact() const {
    if (pitch == std::ptrdiff_t{width} * kPixelBytes)
        return true;
    for (int y = 0; y < height; ++y)
        if (const int padding = PaddingOf(y); description.numbersPadding ? padding < 0 : padding != kBorder)
            return false;
    return true;
}

int Picture::PaddingOf(int y) const {
    const std::ptrdiff_t used = std::ptrdiff_t{width} * kPixelBytes;
    const unsigned char *padding = Row(y) + used;
    return std::memcmp(padding, padding + 1, static_cast<std::size_t>(pitch - used - 1)) == 0 ? *padding : -1;
}

void Picture::Seal() {
    if (locks > 0 || memory.sealed() || sealsLeft == 0)
        return;
    --sealsLeft;
    sealedSum = Checksum();
    memory.Seal();
}

namespace {

/// `from` moved by `step` of `steps` parts of the way to `to`, toward `from`. Both are 32-bit, so that products stay
/// within 64 bits.
std::int64_t Between(std::int64_t from, std::int64_t to, std::uint64_t step, std::uint64_t steps) {
    const auto distance = static_cast<std::uint64_t>(std::abs(to - from));
    const auto moved = static_cast<std::int64_t>(distance * step / steps);
    return to >= from ? from + moved : from - moved;
}

} // namespace

/// Row by row of the picture, however long the line and however large its pen: the steps at which the pen reaches a row
/// follow each other, and from one to the next it moves by a column at the most, so that they fill the row from the
/// first pen's end to the last one's.
void DrawLine(Graphics &graphics, int x1, int y1, int x2, int y2) {
    Picture &picture = *graphics.picture;
    picture.lines.push_back({x1, y1, x2, y2, graphics.penWidth, graphics.penHeight, graphics.foreColor});
    if (graphics.penWidth < 1 || graphics.penHeight < 1)
        return;
    const std::uint32_t word = OpaqueWord(picture.layout, graphics.foreColor);
    const auto rows = static_cast<std::uint64_t>(std::abs(std::int64_t{y2} - y1));
    const auto columns = static_cast<std::uint64_t>(std::abs(std::int64_t{x2} - x1));
    const std::uint64_t steps = std::max({columns, rows, std::uint64_t{1}});
    // The first step at which the pen is that many rows from where it began; `steps` + 1 when it never is.
    const auto stepTo = [&](std::int64_t distance) {
        const auto away = static_cast<std::uint64_t>(std::max<std::int64_t>(distance, 0));
        return away == 0 ? 0 : away > rows ? steps + 1 : (away * steps + rows - 1) / rows;
    };
    const std::int64_t lastRow =
        std::min<std::int64_t>(std::int64_t{std::max(y1, y2)} + graphics.penHeight, picture.height) - 1;
    for (std::int64_t row = std::max(std::min(y1, y2), 0); row <= lastRow; ++row) {
        const std::int64_t highest = row - graphics.penHeight + 1; // of a pen that reaches the row
        const std::uint64_t first = stepTo(y2 >= y1 ? highest - y1 : y1 - row);
        const std::uint64_t end = stepTo(y2 >= y1 ? row - y1 + 1 : y1 - highest + 1);
        if (first >= end)
            continue;
        const auto [left, right] = std::minmax({Between(x1, x2, first, steps), Between(x1, x2, end - 1, steps)});
        const std::int64_t stop = std::min<std::int64_t>(right + graphics.penWidth, picture.width);
        for (std::int64_t column = std::max<std::int64_t>(left, 0); column < stop; ++column)
            picture.SetWord(static_cast<int>(column), static_cast<int>(row), word);
    }
}

void DrawPicture(Picture &target, const Picture &source, int x, int y, int width, int height, int sourceX, int sourceY,
                 int sourceWidth, int sourceHeight) {
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column) {
            const auto fromX = static_cast<int>(sourceX + std::int64_t{column} * sourceWidth / width);
            const auto fromY = static_cast<int>(sourceY + std::int64_t{row} * sourceHeight / height);
            if (source.Inside(fromX, fromY) && target.Inside(x + column, y + row))
                target.SetWord(x + column, y + row, OpaqueWord(target.layout, source.ColorAt(fromX, fromY)));
        }
}

} // namespace standin
