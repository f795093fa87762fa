#pragma once

#include "bench/measuring.h"
#include "bench/reference.h"

#include <string>
#include <vector>

namespace bench {

enum class Format { Text, Markdown, Json };

/// Rows of cells under a head, the first column flush left and the others flush right.
struct Table {
    std::vector<std::string> head;
    std::vector<std::vector<std::string>> rows;
    void Print(Format format) const; ///< as text or Markdown
};

/// A line on standard error that tells how far a run is, on terminals alone. It is gone when its owner is.
class Progress {
  public:
    Progress();
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;
    void Show(const Step &step);

  private:
    bool terminal_;
    std::chrono::steady_clock::time_point start_;
};

/// The machine, the build and the yardstick, on a line.
void PrintHead(Format format, Size size, const Yardstick &yardstick, int runs);

/// One JSON object on a line, with the target and the reference where it has them.
void PrintJson(const Figure &figure, const Reference &reference);

/// One line a figure.
void PrintList(Format format, const std::vector<Figure> &figures);

/// What the limit loops take, as multiples of memcpy.
void PrintLimits(Format format, Yardstick &yardstick);

/// The figures of one size beside their targets; what is missed is marked.
void PrintTargets(Format format, const std::vector<Figure> &figures);

/// One line an operation and level, one column a layout pair.
void PrintLayouts(Format format, const std::vector<Figure> &figures);

/// Those that are slower than the reference allows; their number.
std::size_t PrintSlower(const std::vector<Figure> &figures, const Reference &reference);

} // namespace bench
