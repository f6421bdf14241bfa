#include "pack/printers/dev_mode.h"

#include <algorithm>
#include <cstdint>
#include <span>

namespace pack {

namespace {

// Places in the structure, in bytes, and the bits that say which of its fields count.
constexpr std::size_t size_place = 68;
constexpr std::size_t fields_place = 72;
struct Field {
  std::size_t place;
  std::uint32_t bit;
};
constexpr Field orientation{76, 0x1};
constexpr Field paper_size{78, 0x2};
constexpr Field paper_length{80, 0x4};
constexpr Field paper_width{82, 0x8};
constexpr Field scale{84, 0x10};
constexpr Field print_quality{90, 0x400};
constexpr Field color{92, 0x800};
constexpr Field duplex{94, 0x1000};
constexpr Field y_resolution{96, 0x2000};

struct Word {
  int value;
  const char* text;
};
constexpr Word orientations[] = {{1, "DMORIENT_PORTRAIT"}, {2, "DMORIENT_LANDSCAPE"}};
constexpr Word paper_sizes[] = {{1, "DMPAPER_LETTER"},  {5, "DMPAPER_LEGAL"},   {7, "DMPAPER_EXECUTIVE"},
                                {8, "DMPAPER_A3"},      {9, "DMPAPER_A4"},      {11, "DMPAPER_A5"},
                                {13, "DMPAPER_B5"},     {20, "DMPAPER_ENV_10"}, {27, "DMPAPER_ENV_DL"},
                                {28, "DMPAPER_ENV_C5"}, {31, "DMPAPER_ENV_C6"}, {37, "DMPAPER_ENV_MONARCH"},
                                {70, "DMPAPER_A6"},     {256, "DMPAPER_USER"}};
constexpr Word qualities[] = {
    {-1, "DMRES_DRAFT"}, {-2, "DMRES_LOW"}, {-3, "DMRES_MEDIUM"}, {-4, "DMRES_HIGH"}};
constexpr Word colors[] = {{1, "DMCOLOR_MONOCHROME"}, {2, "DMCOLOR_COLOR"}};
constexpr Word duplexes[] = {{1, "DMDUP_SIMPLEX"}, {2, "DMDUP_VERTICAL"}, {3, "DMDUP_HORIZONTAL"}};

class DevMode {
 public:
  explicit DevMode(std::string_view bytes) : bytes_(bytes) {
    const std::size_t size = static_cast<std::uint16_t>(word(size_place));
    bytes_ = bytes_.substr(0, size);
  }

  bool has(Field field) const {
    const std::uint32_t fields = static_cast<std::uint16_t>(word(fields_place)) |
                                 std::uint32_t{static_cast<std::uint16_t>(word(fields_place + 2))} << 16;
    return (fields & field.bit) != 0 && bytes_.size() >= field.place + 2;
  }
  int at(Field field) const { return word(field.place); }

  void put_word(Field field, std::span<const Word> words, std::string& text) const {
    if (!has(field)) return;
    const auto word = std::ranges::find(words, at(field), &Word::value);
    if (word != words.end()) text = word->text;
  }
  void put_number(Field field, std::string& text) const {
    if (has(field) && at(field) > 0) text = std::to_string(at(field));
  }
  // Windows counts tenths of a millimetre.
  void put_points(Field field, std::string& text) const {
    constexpr int inch = 254;
    constexpr int points_of_inch = 72;
    if (has(field) && at(field) > 0) text = std::to_string(at(field) * points_of_inch / inch);
  }

 private:
  // Signed, little-endian; 0 beyond the end.
  std::int16_t word(std::size_t place) const {
    if (bytes_.size() < place + 2) return 0;
    const auto byte = [&](std::size_t at) {
      return static_cast<unsigned>(static_cast<unsigned char>(bytes_[at]));
    };
    return static_cast<std::int16_t>(byte(place) | byte(place + 1) << 8);
  }

  std::string_view bytes_;
};

// The nearest word for dots per inch.
const char* quality_of(int dots) {
  constexpr int high = 600;
  constexpr int medium = 300;
  if (dots >= high) return "DMRES_HIGH";
  return dots >= medium ? "DMRES_MEDIUM" : "DMRES_LOW";
}

}  // namespace

PrinterSettings settings_of(std::string_view dev_mode) {
  const DevMode mode(dev_mode);
  PrinterSettings settings;
  mode.put_word(orientation, orientations, settings.orientation);
  mode.put_word(paper_size, paper_sizes, settings.paper_size);
  mode.put_points(paper_width, settings.paper_width);
  mode.put_points(paper_length, settings.paper_length);
  mode.put_number(scale, settings.scale);
  mode.put_word(print_quality, qualities, settings.print_quality);
  if (mode.has(print_quality) && mode.at(print_quality) > 0)
    settings.print_quality = quality_of(mode.at(print_quality));
  mode.put_word(color, colors, settings.color);
  mode.put_word(duplex, duplexes, settings.duplex);
  mode.put_number(y_resolution, settings.y_resolution);
  return settings;
}

bool is_dev_mode(std::string_view bytes) {
  if (bytes.size() < fields_place + 4) return false;
  const std::size_t size = static_cast<unsigned char>(bytes[size_place]) |
                           static_cast<std::size_t>(static_cast<unsigned char>(bytes[size_place + 1])) << 8;
  return size >= fields_place + 4 && size <= bytes.size();
}

}  // namespace pack
