#include "system/marks.h"

namespace {

constexpr MarkRow rows[] = {
#define MARK(number, name, text_key) {Mark::name, text_key},
#include "system/marks.def"
#undef MARK
};

}  // namespace

std::span<const MarkRow> mark_rows() { return rows; }

std::string image_name(Mark mark) { return "image_" + std::to_string(static_cast<int>(mark)); }

std::optional<Mark> mark_of_image(std::string_view image) {
  for (const MarkRow& row : rows) {
    if (image == image_name(row.mark)) return row.mark;
  }
  return std::nullopt;
}
