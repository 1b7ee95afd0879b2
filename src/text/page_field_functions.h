// The functions behind the rows of the field table, by family.
#pragma once

#include "text/page_fields.h"

namespace brevant {

// --- Times (flags: the option bits of FormatTime without an argument) ----------------------------
int ExpandCurrentTime(const TFieldCall& call);
int ExpandItemCreated(const TFieldCall& call);
int ExpandItemModified(const TFieldCall& call);
int ExpandIsNew(const TFieldCall& call);

// --- Values (key: the name of the value; flags: 1 to URL-encode it inside a tag) ----------------
int ExpandContainerValue(const TFieldCall& call);
int ExpandItemValue(const TFieldCall& call);
int ExpandOtherItemValue(const TFieldCall& call);
int ExpandContainerCount(const TFieldCall& call);

// --- Numbers (key: the name of the value) --------------------------------------------------------
int ExpandContainerNumber(const TFieldCall& call);
int ExpandItemNumber(const TFieldCall& call);
int ExpandDownloadEstimate(const TFieldCall& call);
// flags: 1 for the rest to a hundred.
int ExpandPercentage(const TFieldCall& call);
int ExpandColor(const TFieldCall& call);

// --- Threads -------------------------------------------------------------------------------------
// key: what to repeat, once for each level of the thread.
int ExpandIndentation(const TFieldCall& call);

// --- Posting addresses (key of the second: the word that stands for the container) ---------------
int ExpandContainerPost(const TFieldCall& call);
int ExpandBoardPost(const TFieldCall& call);
int ExpandReplyToBoard(const TFieldCall& call);
int ExpandReplyToAuthor(const TFieldCall& call);

// --- Pages (key: the reference without an argument) ----------------------------------------------
int ExpandBack(const TFieldCall& call);
int ExpandContainerFileName(const TFieldCall& call);
int ExpandItemFileName(const TFieldCall& call);
int ExpandContainerReference(const TFieldCall& call);
int ExpandItemReference(const TFieldCall& call);
int ExpandOriginal(const TFieldCall& call);

// --- Content (key of the last: the file name of the sub-template)
// -------------------------------------------------------------------------------------
int ExpandContent(const TFieldCall& call);
int ExpandAttachmentFileName(const TFieldCall& call);
int ExpandAttachmentContent(const TFieldCall& call);
int ExpandSubTemplate(const TFieldCall& call);

}  // namespace brevant
