#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>

namespace tools::gallery {

/// The folder that a gallery is written to, which becomes the current one. It remembers in a file of its own what was
/// written, so that no other file is ever replaced.
class Folder {
  public:
    explicit Folder(const std::string &path); ///< made when missing; throws UserError

    /// Throws UserError for a file that somebody else wrote, or changed since.
    void CheckReplaceable(const std::string &name, std::span<const unsigned char> bytes = {}) const;
    void Write(const std::string &name, std::span<const unsigned char> bytes); ///< throws UserError
    std::string PathOf(const std::string &name) const;

  private:
    std::string path_;
    std::map<std::string, std::uint64_t> written_; ///< hashes of what the files held
};

} // namespace tools::gallery
