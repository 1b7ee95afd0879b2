#include "platform/win32.h"

#include <brevant/net.h>
