#pragma once

/// Stands first in the declaration of what a library of the platform offers to others.
#define KVT_PLATFORM [[gnu::visibility("default")]]
