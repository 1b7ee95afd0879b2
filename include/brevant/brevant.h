// Everything a host program needs.
#pragma once

#include <brevant/board.h>
#include <brevant/frame.h>
#include <brevant/net.h>
#include <brevant/store.h>
