#pragma once

#include "pixels/picture_editor.h"

/// Guards over the open routines: each opens in its constructor, converts to whether that succeeded, and gives back
/// what it holds at the end of its scope. Several close in the reverse order of their opening.
namespace kvt {

class OpenPicture {
  public:
    ~OpenPicture() { ClosePictureEditor(editor_); }
    OpenPicture(const OpenPicture &) = delete;
    OpenPicture &operator=(const OpenPicture &) = delete;

    explicit operator bool() const { return editor_.picture != nullptr; }
    const PictureEditor &operator*() const { return editor_; }
    const PictureEditor *operator->() const { return &editor_; }

  protected:
    OpenPicture() = default;
    PictureEditor editor_ = {};
};

class OpenReader : public OpenPicture {
  public:
    explicit OpenReader(REALpictureStruct *picture) { GetPictureReader(editor_, picture); }
};

/// Opens a picture for changing it in place.
class OpenEditor : public OpenPicture {
  public:
    explicit OpenEditor(REALpictureStruct *picture) { GetPictureEditor(editor_, picture); }
};

/// What a new picture takes over from its source: size and alpha channel, or the size alone.
enum class NewPicture { LikeSource, SameSize };

class OpenWriter : public OpenPicture {
  public:
    OpenWriter(std::int32_t width, std::int32_t height) { NewPictureWriter(editor_, width, height); }
    OpenWriter(const PictureEditor &source, NewPicture kind) {
        kind == NewPicture::LikeSource ? NewPictureWriter(editor_, source)
                                       : NewPictureWriter(editor_, source.width, source.height);
    }
    /// Into `target` itself when it is large enough and can be opened, else into a new picture.
    OpenWriter(REALpictureStruct *target, std::int32_t width, std::int32_t height) {
        NewPictureWriter(editor_, target, width, height);
    }

    /// Finishes the picture: it is the caller's, with one reference, and the writer holds nothing any more.
    REALpictureStruct *Render() { return RenderPictureWriter(editor_); }
};

} // namespace kvt
