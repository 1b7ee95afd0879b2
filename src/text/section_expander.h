// Writes the repeated parts of a page once for every object.
#pragma once

#include "text/page_writer.h"
#include "text/section_plan.h"

namespace brevant {

// Works for one writer: takes its items away and feeds them back, parts repeated and markers
// replaced. The cost is that of what is written.
class TSectionExpander {
 public:
  explicit TSectionExpander(TPageWriter& page) : page_(page) {}

  // Everything from that item on. A fragment is the inside of a body.
  void ExpandFrom(std::size_t item, bool fragment);
  // Writes a request for all of its objects in a row.
  void WriteForAll(const TSectionRequest& request);

 private:
  void Write(const TItemRange& range, std::size_t part, std::size_t endPart);
  std::size_t FirstMark(std::size_t item) const;
  void WritePart(std::size_t part, std::size_t depth);
  void Copy(std::size_t begin, std::size_t end);
  void Rewrite(std::size_t mark);
  void RewritePieces(std::size_t mark);
  void RewritePiece(std::string_view piece, bool fromField);
  void WriteMarker(std::int32_t section, bool firstOnly);
  TSectionObjects* Objects() const { return page_.Dispatcher()->SectionObjects(); }

  TPageWriter& page_;
  TPageItems items_;
  TSectionPlan plan_;
  std::vector<int> walked_;  // by class: whether a part around the place at hand walks it
};

}  // namespace brevant
