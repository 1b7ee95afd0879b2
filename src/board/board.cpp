#include "platform/win32.h"

#include <brevant/board.h>
