// Repeated parts of a page. A field that has no current object asks for all: its tag becomes a
// marker in the page, and when the whole template was fed the part of the page around the marker is
// written once for every object.
#pragma once

#include "text/page_field.h"

#include <string>
#include <vector>

namespace brevant {

// The objects that sections walk. Implemented by what knows the board; calls are nested like the
// parts of the page: a container's walk may hold one of its items, and one of another kind.
class TSectionObjects {
 public:
  virtual ~TSectionObjects() = default;

  // Starts a walk over all objects of a kind and level: the containers of the kind in their order,
  // or the items of the current container of that kind. Gives their number; 0 when there are none,
  // when no container is current, or when they could not be read (that is reported there).
  // End is called for every Begin, also after 0.
  virtual std::size_t Begin(int kind, TFieldLevel level) = 0;
  // Makes object number index (from 0, each once, ascending) the current one of the innermost
  // walk of that kind and level. False: it cannot be opened (reported there), it is passed over.
  virtual bool Select(int kind, TFieldLevel level, std::size_t index) = 0;
  // Ends the walk; what was current before Begin is current again.
  virtual void End(int kind, TFieldLevel level) = 0;
};

// A field's request to be repeated. The writer keeps each once, by its text.
struct TSectionRequest {
  std::string text;  // normal form: "*.FORUM_NAME", "All.MESSAGE_DATE(American+24HR,x)"
  TPageField* field = nullptr;
  std::vector<std::string> arguments;
  std::vector<std::string> qualifiers;  // empty when the tag had none
  int kind = 0;
  TFieldLevel level = TFieldLevel::kBoard;
};

}  // namespace brevant
