#pragma once

#include <string>

namespace standin {

/// A module loaded from its file, afresh: its variables are those of the file. The destructor unloads it; a module that
/// stays in memory all the same is a std::logic_error at the next load of the same file.
class ModuleFile {
  public:
    /// Whether the file is in this process's memory.
    static bool IsLoaded(const std::string &path);

    /// A module that may stay in memory does so for good if it runs nothing when it is loaded or unloaded. Whoever
    /// loads the file next finds its variables set back, which to such a module is a load, and takes next to no time.
    /// Throws std::runtime_error, with the loader's reason, when the file is no module that can be loaded, and
    /// std::logic_error when it is loaded already.
    explicit ModuleFile(const std::string &path, bool mayStay = false);
    ~ModuleFile();
    ModuleFile(const ModuleFile &) = delete;
    ModuleFile &operator=(const ModuleFile &) = delete;

    const std::string &path() const { return path_; }
    void *Exported(const char *name) const; ///< null when the module exports no such symbol
    /// The address of a variable that the file's own symbol table names, exported or not; null when it was stripped.
    void *Internal(const char *name) const;
    /// Sends the module's own calls of an imported function to `replacement`, which has that function's type, if it
    /// makes any through its procedure linkage table.
    void Redirect(const char *name, void *replacement) const;

  private:
    std::string path_;
    void *handle_;
    bool stays_;
};

/// The module beside the running program.
std::string ModuleBesideProgram();

} // namespace standin
