// A page field writes one value of the board into the page being produced. The tag dispatcher finds
// it by its name, lets it select its object and then has it write.
#pragma once

#include <brevant/store.h>

#include <cstddef>
#include <span>
#include <string_view>

namespace brevant {

class TPageWriter;
class TTagDispatcher;

// What a field reads: the board as a whole, a container (forum, list, question) or an item in one.
enum class TFieldLevel { kBoard, kContainer, kItem };

// What a field found for its qualifiers. kNothing: a reference that names no page, such as "Prev"
// on the first entry; nothing is written. kAll: there is no current object, the tag is to be
// repeated for every object.
enum class TSelection { kFailed, kNothing, kOne, kAll };

// The argument list of a tag, at most 16 texts without the blanks at their starts. The texts live
// as long as the call that hands them over.
using TFieldArguments = std::span<const std::string_view>;

class TPageField {
 public:
  virtual ~TPageField() = default;

  // The tag's name; compared over its full length, letter case counts.
  virtual std::string_view Name() const = 0;
  // The object kind: 0 none, 1 message forum, 3 resource list, 4 survey question. Together with the
  // level it names the objects that a repeated part walks.
  virtual int Kind() const = 0;
  virtual TFieldLevel Level() const = 0;

  // Makes the object that the qualifiers name the one that Expand reads. On failure the field sets
  // the dispatcher's last error and gives kFailed. After kOne, and only then, Deselect is called
  // when Expand is through.
  virtual TSelection Select(TTagDispatcher& dispatcher,
                            std::span<const std::string_view> qualifiers) = 0;
  virtual void Deselect() {}

  // Writes the value with page.Feed. 1 when nothing went wrong, also when there was nothing to
  // write; 0 on failure, with page.Dispatcher()->SetLastError.
  virtual int Expand(TPageWriter& page, TFieldArguments arguments) = 0;

  // The modification time of what the selected object's value was read from, asked for between
  // Select and Deselect, after Expand; zero when there is none. The page keeps the newest.
  virtual TTime SourceTime() const = 0;
};

}  // namespace brevant
