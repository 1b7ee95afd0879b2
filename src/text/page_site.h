// The board and the run as page fields see them: the objects that tags name, the page at hand and
// the pages that it asks for. Implemented by what makes the pages.
#pragma once

#include "text/item_list.h"
#include "text/page_field.h"

#include <brevant/board.h>
#include <brevant/frame.h>

#include <optional>
#include <string>
#include <string_view>

namespace brevant {

// Object kinds, as TPageField::Kind() gives them.
enum TObjectKind : int {
  kNoKind = 0,
  kForumKind = 1,
  kContributorKind = 2,
  kListKind = 3,
  kQuestionKind = 4,
};

// The word for a kind in messages; of any other number that of a message forum.
const char* ObjectKindWord(int kind);

// What a field failed to do, with the text for the page and the history; empty when it succeeded.
using TFieldError = std::string;

class TPageSite {
 public:
  virtual ~TPageSite() = default;

  virtual const TSetup& Setup() const = 0;
  // The last-write time of the settings file.
  virtual TTime SettingsTime() = 0;
  // Whether "Decode Mail Text" is set: texts of the board are shown as the characters they are.
  virtual bool DecodesText() const = 0;
  // Whether "Safe HTML" is set: what visitors wrote is reduced to what can do no harm.
  virtual bool ShowsSafeHtml() const = 0;

  // --- The objects of the board ------------------------------------------------------------------
  // The containers of a kind, ordered by name; the order holds for the whole run.
  virtual int ContainerCount(int kind) = 0;
  // By name, ignoring letter case; -1 when there is none.
  virtual int FindContainer(int kind, std::string_view name) = 0;

  // --- The current objects -----------------------------------------------------------------------
  // Each kind has its own: while the questions are walked on the page of a forum, that forum stays
  // the current one. The position of the current container of a kind, or -1.
  virtual int CurrentContainer(int kind) const = 0;
  // The position of the current item in Items(kind), or -1.
  virtual int CurrentItem(int kind) const = 0;
  // The current container, open; null when there is none or when it cannot be opened, then with the
  // reason in error.
  virtual TForum* Container(int kind, TFieldError* error) = 0;
  // The items of the current container in their order; empty without one that can be opened.
  virtual const TItemList& Items(int kind) = 0;
  // The current item, open; null as of Container.
  virtual TMail* Item(int kind, TFieldError* error) = 0;

  // Makes another container, without a current item, or another item of the current container the
  // current one of its kind until Deselect. Calls nest. Nothing is opened yet.
  virtual void SelectContainer(int kind, int position) = 0;
  virtual void SelectItem(int kind, int position) = 0;
  virtual void Deselect() = 0;

  // --- Pages -------------------------------------------------------------------------------------
  // The page whose field or link had the page at hand made; empty for a main page.
  virtual std::string BackPage() const = 0;
  // The file name that a container, or an item of the current container, has among the pages made
  // from the template of the page at hand. Nothing is made. False, with the reason in error, when
  // the container cannot be opened.
  virtual bool ContainerPageName(int kind, int position, std::string* fileName,
                                 TFieldError* error) = 0;
  virtual bool ItemPageName(int kind, int position, std::string* fileName, TFieldError* error) = 0;
  // The same for the pages of a template, and has the current object's page made from it later in
  // the run. A container's template may be empty: the one that the settings give its kind; when
  // they give none, fileName is empty. False, with the reason in error, also when the template is
  // missing.
  virtual bool RequestContainerPage(int kind, std::string_view templateName, std::string* fileName,
                                    TFieldError* error) = 0;
  virtual bool RequestItemPage(int kind, std::string_view templateName, std::string* fileName,
                               TFieldError* error) = 0;
  // A template of the program directory that fields write into pages; nothing when it cannot be
  // read.
  struct TSubTemplate {
    std::string_view path;
    std::string_view bytes;  // both hold for the whole run
    TTime written;           // Greenwich
  };
  virtual std::optional<TSubTemplate> SubTemplate(const std::string& fileName) = 0;
  // Whether the site's directory holds a file of that name at this moment.
  virtual bool SiteHolds(const std::string& fileName) = 0;
  // To be called by what writes a value that changes without anything being changed.
  virtual void NotePageShowsTime() = 0;
};

}  // namespace brevant
