#include "platform/win32.h"

#include <brevant/store.h>
