#include "platform/win32.h"

#include <brevant/frame.h>
