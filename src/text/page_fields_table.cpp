// The table of page fields.
#include "text/page_field_functions.h"

namespace brevant {
namespace {

constexpr unsigned kDateDefault =
    kFormatDate | kFormatWeekday | kFormatYear | kFormatMonthName;  // 1045
constexpr unsigned kTimeDefault = kFormatTime;
constexpr unsigned kUrl = 1;
constexpr unsigned kRest = 1;

constexpr auto kBoard = TFieldLevel::kBoard;
constexpr auto kContainer = TFieldLevel::kContainer;
constexpr auto kItem = TFieldLevel::kItem;
constexpr auto kFromSettings = TFieldSource::kSettings;
constexpr auto kFromContainer = TFieldSource::kContainer;
constexpr auto kFromItem = TFieldSource::kItem;

constexpr TFieldRow kFields[] = {
    {"DATE", kNoKind, kBoard, kFromSettings, ExpandCurrentTime, "", kDateDefault},
    {"TIME", kNoKind, kBoard, kFromSettings, ExpandCurrentTime, "", kTimeDefault},
    {"BACK", kNoKind, kBoard, kFromSettings, ExpandBack},
    {"FORUM_NAME", kForumKind, kContainer, kFromContainer, ExpandContainerValue, "Name"},
    {"FORUM_DESCRIPTION", kForumKind, kContainer, kFromContainer, ExpandContainerValue,
     "Description"},
    {"FORUM_PREFIX", kForumKind, kContainer, kFromContainer, ExpandContainerValue,
     "HTML Filename Prefix", kUrl},
    {"FORUM_POST", kForumKind, kContainer, kFromContainer, ExpandContainerPost},
    {"FORUM_SIZE", kForumKind, kContainer, kFromContainer, ExpandContainerCount},
    {"SIZE", kForumKind, kContainer, kFromContainer, ExpandContainerCount},
    {"FORUM_FILENAME", kForumKind, kContainer, kFromContainer, ExpandContainerFileName},
    {"FORUM_NEXT", kForumKind, kContainer, kFromContainer, ExpandContainerReference, "Next"},
    {"FORUM_PREV", kForumKind, kContainer, kFromContainer, ExpandContainerReference, "Prev"},
    {"POST", kNoKind, kBoard, kFromSettings, ExpandBoardPost, "Message forum"},
    {"LIST_NAME", kListKind, kContainer, kFromContainer, ExpandContainerValue, "Name"},
    {"LIST_DESCRIPTION", kListKind, kContainer, kFromContainer, ExpandContainerValue,
     "Description"},
    {"LIST_PREFIX", kListKind, kContainer, kFromContainer, ExpandContainerValue,
     "HTML Filename Prefix"},
    {"LIST_SIZE", kListKind, kContainer, kFromContainer, ExpandContainerCount},
    {"COUNT", kListKind, kContainer, kFromContainer, ExpandContainerCount},
    {"LIST_FILENAME", kListKind, kContainer, kFromContainer, ExpandContainerFileName},
    {"LIST_SUBMIT", kListKind, kContainer, kFromContainer, ExpandContainerPost},
    {"LIST_NEXT", kListKind, kContainer, kFromContainer, ExpandContainerReference, "Next"},
    {"LIST_PREV", kListKind, kContainer, kFromContainer, ExpandContainerReference, "Prev"},
    {"SUBMIT", kNoKind, kBoard, kFromSettings, ExpandBoardPost, "Resource list"},
    {"MESSAGE_DATE", kForumKind, kItem, kFromItem, ExpandItemCreated, "", kDateDefault},
    {"MESSAGE_TIME", kForumKind, kItem, kFromItem, ExpandItemCreated, "", kTimeDefault},
    {"MESSAGE_DATE_MODIFIED", kForumKind, kItem, kFromItem, ExpandItemModified, "", kDateDefault},
    {"MESSAGE_TIME_MODIFIED", kForumKind, kItem, kFromItem, ExpandItemModified, "", kTimeDefault},
    {"MESSAGE_FROM", kForumKind, kItem, kFromItem, ExpandItemValue, "From Name"},
    {"MESSAGE_FROM_ADDRESS", kForumKind, kItem, kFromItem, ExpandItemValue, "From EMail Address",
     kUrl},
    {"MESSAGE_SUBJECT", kForumKind, kItem, kFromItem, ExpandItemValue, "Subject"},
    {"MESSAGE_CHARSET", kForumKind, kItem, kFromItem, ExpandItemValue, "Charset"},
    {"MESSAGE_CONTENT", kForumKind, kItem, kFromItem, ExpandContent},
    {"MESSAGE_REPLY", kForumKind, kItem, kFromItem, ExpandReplyToBoard},
    {"MESSAGE_MAIL", kForumKind, kItem, kFromItem, ExpandReplyToAuthor},
    {"MESSAGE_FILENAME", kForumKind, kItem, kFromContainer, ExpandItemFileName},
    {"MESSAGE_PREV", kForumKind, kItem, kFromContainer, ExpandItemReference, "Prev"},
    {"MESSAGE_NEXT", kForumKind, kItem, kFromContainer, ExpandItemReference, "Next"},
    {"MESSAGE_ORIGINAL", kForumKind, kItem, kFromContainer, ExpandOriginal},
    {"MESSAGE_INDENTATION", kForumKind, kItem, kFromItem, ExpandIndentation, "<blockquote>"},
    {"MESSAGE_INDENTATION_END", kForumKind, kItem, kFromItem, ExpandIndentation, "</blockquote>"},
    {"MESSAGE_IS_NEW", kForumKind, kItem, kFromItem, ExpandIsNew},
    {"MESSAGE_ATTACHMENT_FILENAME", kForumKind, kItem, kFromItem, ExpandAttachmentFileName},
    {"MESSAGE_ATTACHMENT_CONTENT", kForumKind, kItem, kFromItem, ExpandAttachmentContent},
    {"MESSAGE_OTHER", kForumKind, kItem, kFromItem, ExpandOtherItemValue, "?", kUrl},
    {"LINK_DATE", kListKind, kItem, kFromItem, ExpandItemCreated, "", kDateDefault},
    {"LINK_TIME", kListKind, kItem, kFromItem, ExpandItemCreated, "", kTimeDefault},
    {"LINK_NAME", kListKind, kItem, kFromItem, ExpandItemValue, "Subject"},
    {"LINK_SUBJECT", kListKind, kItem, kFromItem, ExpandItemValue, "Subject"},
    {"LINK_ADDRESS", kListKind, kItem, kFromItem, ExpandItemValue, "Address", kUrl},
    {"LINK_OTHER", kListKind, kItem, kFromItem, ExpandOtherItemValue},
    {"LINK_FILENAME", kListKind, kItem, kFromContainer, ExpandItemFileName},
    {"LINK_PREV", kListKind, kItem, kFromContainer, ExpandItemReference, "Prev"},
    {"LINK_NEXT", kListKind, kItem, kFromContainer, ExpandItemReference, "Next"},
    {"LINK_SUMMARY", kListKind, kItem, kFromItem, ExpandContent},
    {"LINK_SIZE", kListKind, kItem, kFromItem, ExpandItemNumber, "SIZE"},
    {"LINK_IS_NEW", kListKind, kItem, kFromItem, ExpandIsNew},
    {"LINK_DOWNLOAD_ESTIMATE", kListKind, kItem, kFromItem, ExpandDownloadEstimate, "SIZE"},
    {"LINK_ATTACHMENT_FILENAME", kListKind, kItem, kFromItem, ExpandAttachmentFileName},
    {"LINK_ATTACHMENT_CONTENT", kListKind, kItem, kFromItem, ExpandAttachmentContent},
    {"QUESTION", kQuestionKind, kContainer, kFromContainer, ExpandContainerValue, "Name"},
    {"QUESTION_FILENAME", kQuestionKind, kContainer, kFromContainer, ExpandContainerFileName},
    {"QUESTION_NEXT", kQuestionKind, kContainer, kFromContainer, ExpandContainerReference, "Next"},
    {"QUESTION_PREV", kQuestionKind, kContainer, kFromContainer, ExpandContainerReference, "Prev"},
    {"QUESTION_GRAPH", kQuestionKind, kContainer, kFromContainer, ExpandSubTemplate, "graph.htf"},
    {"QUESTION_ANSWERS_RADIO_BUTTON", kQuestionKind, kContainer, kFromContainer, ExpandSubTemplate,
     "radio.htf"},
    {"QUESTION_ANSWERS_DROPDOWN_MENU", kQuestionKind, kContainer, kFromContainer, ExpandSubTemplate,
     "combobox.htf"},
    {"QUESTION_RESPONSE_COUNT", kQuestionKind, kContainer, kFromContainer, ExpandContainerNumber,
     "Total Vote Count"},
    {"SURVEY_SUBMIT", kNoKind, kBoard, kFromSettings, ExpandBoardPost, "Survey"},
    {"ANSWER", kQuestionKind, kItem, kFromItem, ExpandItemValue, "Subject"},
    {"ANSWER_COUNT", kQuestionKind, kItem, kFromItem, ExpandItemNumber, "Vote Count"},
    {"ANSWER_PERCENTAGE", kQuestionKind, kItem, kFromContainer, ExpandPercentage},
    {"ANSWER_PERCENTAGE_NOT", kQuestionKind, kItem, kFromContainer, ExpandPercentage, "", kRest},
    {"ANSWER_COLOR", kQuestionKind, kItem, kFromItem, ExpandColor, "Color"},
};

}  // namespace

std::span<const TFieldRow> FieldTable() { return kFields; }

}  // namespace brevant
