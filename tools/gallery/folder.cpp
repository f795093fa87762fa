#include "tools/gallery/gallery.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace tools::gallery {
namespace {

constexpr const char *kRecord = ".kvt-gallery";

std::uint64_t HashOf(std::span<const unsigned char> bytes) { // FNV-1a
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const unsigned char byte : bytes)
        hash = (hash ^ byte) * 0x100000001B3U;
    return hash;
}

} // namespace

Folder::Folder(const std::string &path) : path_(path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (!error)
        std::filesystem::current_path(path, error); // calls name files as they lie there
    if (error)
        throw UserError(fmt::format("{}: cannot be made or entered: {}", path, error.message()));
    if (std::filesystem::exists(kRecord, error))
        try {
            written_ = nlohmann::json::parse(ReadBytes(kRecord)).get<decltype(written_)>();
        } catch (const nlohmann::json::exception &) { // then nothing there is known to be the gallery's
            written_.clear();
        }
}

void Folder::CheckReplaceable(const std::string &name, std::span<const unsigned char> bytes) const {
    std::error_code error;
    if (!std::filesystem::exists(std::filesystem::symlink_status(name, error)))
        return;
    const Bytes there = ReadBytes(name);
    const auto known = written_.find(name);
    if ((known == written_.end() || known->second != HashOf(there)) && !std::ranges::equal(there, bytes))
        throw UserError(fmt::format(
            "{}: is not as kvt gallery wrote it, and stays; move it away or name another folder", PathOf(name)));
}

void Folder::Write(const std::string &name, std::span<const unsigned char> bytes) {
    CheckReplaceable(name, bytes);
    WriteBytes(name, bytes);
    written_[name] = HashOf(bytes);
    WriteBytes(kRecord, AsBytes(nlohmann::json(written_).dump(1)));
}

std::string Folder::PathOf(const std::string &name) const { return (std::filesystem::path(path_) / name).string(); }

} // namespace tools::gallery
