#pragma once

#include "standin/host.h"

#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// What the operations of one measurement work on: pictures of one size, made once.
struct Inputs {
    standin::Ref photo;   ///< the receiver
    standin::Ref second;  ///< another picture of its size
    standin::Ref scratch; ///< the same, for operations that work in place
    standin::Ref white;
    standin::Ref gray;
    standin::Ref needle;     ///< occurs in `photo`, near its end
    standin::Ref table;      ///< memory block: a lookup table
    standin::Ref sound;      ///< memory block: 8-bit samples, as many as the picture has pixels
    standin::Ref byteString; ///< of `photo`
    standin::Ref sepia;      ///< an instance of each class, `photo` its source
    standin::Ref lut;
    standin::Ref lutOfNoise; ///< the same with random colors as its source
};

Inputs MakeInputs(standin::Host &host, int width, int height);

/// One line of the benchmark.
struct Operation {
    std::string_view method; ///< as scripts know it; "Class.Method" for the classes' own
    std::string_view what;   ///< tells a method's lines apart where it has several
    standin::Result (*run)(standin::Host &host, const Inputs &inputs);
};

const std::vector<Operation> &Operations();

/// The registered methods that no line measures and the lines that measure no method, a sentence each.
std::vector<std::string> Mismatches(const standin::Host &host);

} // namespace bench
