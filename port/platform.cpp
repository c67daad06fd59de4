#include "port/platform.h"

namespace quillet {

port::Platform* gPlatform = nullptr;

}  // namespace quillet
