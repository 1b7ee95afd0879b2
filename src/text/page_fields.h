// The page fields: one row each in a table, in the order in which tags are looked up.
#pragma once

#include "text/page_site.h"
#include "text/page_writer.h"

#include <memory>
#include <span>
#include <vector>

namespace brevant {

struct TFieldRow;

// What a field's function has at hand: its row, the board, the page and the tag's arguments.
struct TFieldCall {
  const TFieldRow& row;
  TPageSite& site;
  TPageWriter& page;
  TFieldArguments arguments;

  bool HasArgument(std::size_t number) const { return number < arguments.size(); }
  // An argument by its number from 0; empty when the tag has none.
  std::string_view Argument(std::size_t number) const {
    return HasArgument(number) ? arguments[number] : std::string_view();
  }
  // The current container and item of the row's kind; null with the reason in error.
  TForum* Container(TFieldError* error) const;
  TMail* Item(TFieldError* error) const;
  // Tells the dispatcher why the field failed, and gives 0.
  int Fail(std::string_view message) const;
  // Writes a text of the board: escaped, and URL-encoded when it stands inside a tag and url is
  // set. Where the site decodes texts it is UTF-8, else bytes that mean themselves. Gives 1.
  int Write(std::string text, bool url = true) const;
  // The same for a text that came by mail. Where the site shows safe HTML nothing is written where
  // it could do harm: into code, or as an address of which nobody knows what it runs or loads.
  int WriteVisitors(std::string text, bool url = true) const;
};

// Where a field's value comes from, for the time that the page records.
enum class TFieldSource { kSettings, kContainer, kItem };

// One page field.
struct TFieldRow {
  std::string_view name;
  int kind;
  TFieldLevel level;
  TFieldSource source;
  // Writes the value; 1, or 0 after Fail.
  int (*expand)(const TFieldCall& call);
  // Parameters of the function; which one counts is its business.
  const char* key = "";
  unsigned flags = 0;
};

// All fields. The first row of a name is the one that tags find.
std::span<const TFieldRow> FieldTable();
// The fields of the table over a site, which must outlive them.
std::vector<std::unique_ptr<TPageField>> MakePageFields(TPageSite& site);

// The entry of an ordered list that a reference names; current is -1 when there is none.
enum class TReference { kNone, kEntry, kIdentifier };
struct TReferenceResult {
  TReference what;
  int position;  // of kEntry
};
// kIdentifier: the reference is no keyword but names an entry itself.
TReferenceResult ResolveReference(std::string_view reference, int current, int count);
// The position of the object of a kind and level that a reference names, -1 for none. False, with
// the reason in error, when it names an entry that is not there.
bool FindReferenced(TPageSite& site, int kind, TFieldLevel level, std::string_view reference,
                    int* position, TFieldError* error);

}  // namespace brevant
