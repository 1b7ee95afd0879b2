// On Windows the subset in use is the platform's own.
#pragma once

#include <brevant/platform_types.h>
