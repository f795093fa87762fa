#include "host/resolver.h"

namespace kvt {

HostResolver gResolver;
double rbversion_rbversion;

} // namespace kvt
