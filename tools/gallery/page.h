#pragma once

#include "tools/gallery/entries.h"
#include "tools/gallery/exhibit.h"

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tools::gallery {

/// The gallery as one HTML file that needs nothing beside it. Chapters and entries stand in the order in which they are
/// added. Every picture is held once, however often it is shown.
class Page {
  public:
    void AddChapter(std::string_view heading);
    /// `exhibits` are the entry's shots, in their order.
    void AddEntry(const Entry &entry, const std::vector<Exhibit> &exhibits);
    /// The whole file; `facts` tell how the page was made.
    std::string Html(const std::vector<std::pair<std::string, std::string>> &facts) const;

  private:
    std::string Picture(const Image &image, std::string_view description);
    std::string Shown(const Entry &entry, const Exhibit &exhibit);
    std::string Compared(const Entry &entry, const Exhibit &exhibit);
    std::string Article(const Entry &entry, const Shot &shot, const Exhibit &exhibit);

    std::string contents_;
    std::string entries_;
    std::map<std::string, std::size_t> pictures_; ///< data addresses, and their numbers
    std::size_t chapters_ = 0;
};

} // namespace tools::gallery
