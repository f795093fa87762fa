#pragma once

#include "host/handles.h"

#include <cstdint>

namespace kvt {

/// The format code of console pictures. Codes 1 to 6 are a bitmap context's alpha info; layout.h turns codes into
/// types.
inline constexpr std::int32_t kConsoleFormat = 8;

/// The largest width and height of a new picture without alpha channel.
inline constexpr std::int32_t kLargestNewPicture = 32767;

inline bool FitsNewPicture(std::int32_t width, std::int32_t height) {
    return width >= 1 && width <= kLargestNewPicture && height >= 1 && height <= kLargestNewPicture;
}

/// One open picture: its pixels are locked and one reference is held, from a successful open until the close. An editor
/// on a source picture is a reader, one on a result picture a writer. Editors live on an operation's stack. All zero
/// while not open.
struct PictureEditor {
    std::int32_t rowBytes; ///< from the start of one row to the start of the next; padding belongs to the context
    std::int32_t width;    ///< pixels per row, 0 possible
    std::int32_t height;   ///< rows, 0 possible
    std::int32_t format;
    unsigned char *firstRow; ///< row 0; every pixel is a little-endian 32-bit word
    void *const *rowTable;   ///< console pictures alone: one address a row, in any order in memory
    REALpictureStruct *picture;
    unsigned char hasAlphaChannel;
    unsigned char writes; ///< closing makes the host drop what it cached from the pixels
};

inline bool SameSize(const PictureEditor &a, const PictureEditor &b) {
    return a.width == b.width && a.height == b.height;
}

/// The application kind, learned at the first open and kept as long as the module is loaded: which description type is
/// tried. Never set back.
inline unsigned char IsDesktop = 0;
inline unsigned char IsConsole = 0;

/// Opens `picture` for reading. A picture without alpha channel that cannot be locked as a bitmap context is read from
/// a drawn copy. False, with nothing held and nothing raised, for a null picture and for one whose pixels cannot be had
/// as 32-bit words of a known layout; closing is still allowed.
bool GetPictureReader(PictureEditor &editor, REALpictureStruct *picture);

/// Opens `picture` for changing it in place: never a copy.
bool GetPictureEditor(PictureEditor &editor, REALpictureStruct *picture);

/// Makes a new picture without alpha channel and opens it for writing. False, with nothing held, for a size outside
/// 1..32767 (the host is not even asked) or when the host cannot make the picture.
bool NewPictureWriter(PictureEditor &writer, std::int32_t width, std::int32_t height);

/// As above in the reader's size; with an alpha channel (and then without an upper limit, on hosts from 2011.04 on)
/// when the reader's picture has one.
bool NewPictureWriter(PictureEditor &writer, const PictureEditor &reader);

/// Writes into `target` itself when it is at least that large and can be opened; the writer then has the size of
/// `target`. Otherwise, as the form with width and height.
bool NewPictureWriter(PictureEditor &writer, REALpictureStruct *target, std::int32_t width, std::int32_t height);

/// Closes the writer and yields its picture with one reference for the caller; null if the writer was not open.
REALpictureStruct *RenderPictureWriter(PictureEditor &writer);

/// Gives back the lock and the reference. Harmless on an editor that never opened and when done twice.
void ClosePictureEditor(PictureEditor &editor);
inline void ClosePictureReader(PictureEditor &editor) { ClosePictureEditor(editor); }

} // namespace kvt
