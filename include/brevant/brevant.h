// Everything a host program needs.
#pragma once

#include <brevant/board.h>
#include <brevant/contributor.h>
#include <brevant/dial_up.h>
#include <brevant/frame.h>
#include <brevant/ftp.h>
#include <brevant/link_list.h>
#include <brevant/net.h>
#include <brevant/remote_fat.h>
#include <brevant/smtp.h>
#include <brevant/store.h>
#include <brevant/survey_question.h>
#include <brevant/text.h>
