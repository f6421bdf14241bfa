#include "pack/planner/sticky_notes.h"

#include <glib.h>
#include <gsf/gsf-infile-msole.h>
#include <gsf/gsf-infile.h>
#include <gsf/gsf-input-memory.h>
#include <gsf/gsf-utils.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>

#include "pack/database/database.h"
#include "pack/disk/refusal.h"

namespace pack {

namespace {

constexpr std::string_view store_of_windows_10 =
    "AppData/Local/Packages/Microsoft.MicrosoftStickyNotes_8wekyb3d8bbwe/LocalState/plum.sqlite";
constexpr std::string_view store_of_windows_7 = "AppData/Roaming/Microsoft/Sticky Notes/StikyNot.snt";

// ---- Windows 10 and 11 -----------------------------------------------------------------------------------

bool has_column(const Database& database, const char* statement) {
  bool has = false;
  return database.each(statement, [&](const Row&) { has = true; }) && has;
}

// False when something of it cannot be read.
bool add_rows(const Database& database, const std::string& path, Packing& packing, Notes& notes) {
  const bool may_be_deleted =
      has_column(database, "SELECT 1 FROM pragma_table_info('Note') WHERE name = 'DeletedAt'");
  const char* const statement =
      may_be_deleted ? "SELECT substr(CAST(Text AS BLOB), 1, 1000000), DeletedAt FROM Note WHERE rowid = ?1"
                     : "SELECT substr(CAST(Text AS BLOB), 1, 1000000), NULL FROM Note WHERE rowid = ?1";
  bool is_good = true;
  const bool are_all = database.each("SELECT rowid FROM Note ORDER BY rowid", [&](const Row& row) {
    const bool is_read = database.each(statement, row.number(0), [&](const Row& note) {
      if (!note.is_null(1) && note.number(1) != 0) {
        packing.leave_out(Kind::notes, Cause::deleted, path);
      } else {
        notes.add({.title = "", .text = shown_text(note.text(0))}, path);
      }
    });
    if (!is_read) packing.leave_out(Kind::notes, Cause::damaged, path);
    is_good = is_good && is_read;
  });
  return are_all && is_good;
}

void tell_of_pictures(const Database& database, const std::string& path, Packing& packing) {
  // Older versions have none.
  static_cast<void>(
      database.each("SELECT substr(LocalFileRelativePath, 1, 1000) FROM Media", [&](const Row& picture) {
        packing.leave_out(Kind::notes, Cause::no_place, path + ": " + picture.text(0));
      }));
}

void add_database(const Place& file, Packing& packing, Notes& notes) {
  const auto database = Database::open(file);
  if (!database) return packing.leave_out(Kind::notes, cause_of_unopened(file), file.path);
  if (!add_rows(*database, file.path, packing, notes))
    packing.tell_of(Kind::notes, Cause::damaged, file.path);
  tell_of_pictures(*database, file.path, packing);
}

// ---- Windows 7 and 8 -------------------------------------------------------------------------------------

constexpr std::size_t largest_file = std::size_t{16} << 20;
constexpr std::int64_t largest_stream = std::int64_t{4} << 20;
constexpr int most_notes = 10000;

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
using Infile = std::unique_ptr<GsfInfile, Unref>;
using Input = std::unique_ptr<GsfInput, Unref>;

void append(gunichar character, std::string& text) {
  char bytes[6];
  text.append(bytes, static_cast<std::size_t>(g_unichar_to_utf8(character, bytes)));
}

// UTF-16 up to its zero, as UTF-8. Half a character is U+FFFD.
std::string text_of(const std::string& bytes) {
  std::string text;
  gunichar first = 0;  // half of one
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const gunichar unit =
        static_cast<unsigned char>(bytes[i]) | gunichar{static_cast<unsigned char>(bytes[i + 1])} << 8;
    const bool is_second = unit >= 0xDC00 && unit <= 0xDFFF;
    if (first != 0 && !is_second) append(0xFFFD, text);
    if (unit == 0) return text;
    if (unit >= 0xD800 && unit <= 0xDBFF) {
      first = unit;
      continue;
    }
    append(!is_second   ? unit
           : first == 0 ? 0xFFFD
                        : 0x10000 + ((first - 0xD800) << 10) + unit - 0xDC00,
           text);
    first = 0;
  }
  if (first != 0) append(0xFFFD, text);
  return text;
}

// No value when it is not there, or cannot be read.
std::optional<std::string> text_in(GsfInfile* note) {
  const Input stream(gsf_infile_child_by_name(note, "3"));
  if (!stream || gsf_input_size(stream.get()) > largest_stream) return std::nullopt;
  const auto size = static_cast<std::size_t>(gsf_input_size(stream.get()));
  std::string bytes(size, '\0');
  if (size > 0 && gsf_input_read(stream.get(), size, reinterpret_cast<guint8*>(bytes.data())) == nullptr)
    return std::nullopt;
  return text_of(bytes);
}

// A storage is a note; beside them lies what tells the version.
void add_storage(GsfInfile* storage, const std::string& path, Packing& packing, Notes& notes) {
  if (gsf_infile_num_children(storage) <= 0) return;
  if (const auto text = text_in(storage)) {
    notes.add({.title = "", .text = *text}, path);
  } else {
    packing.leave_out(Kind::notes, Cause::damaged, path);
  }
}

// What the library complains about while it reads, instead of saying so on the terminal: it leaves out what
// is damaged.
class Complaints {
 public:
  Complaints() {
    for (std::size_t i = 0; i < domains.size(); ++i)
      handlers_[i] = g_log_set_handler(
          domains[i], static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK | G_LOG_FLAG_FATAL | G_LOG_FLAG_RECURSION),
          [](const gchar*, GLogLevelFlags, const gchar*, gpointer any) { *static_cast<bool*>(any) = true; },
          &any_);
  }
  ~Complaints() {
    for (std::size_t i = 0; i < domains.size(); ++i) g_log_remove_handler(domains[i], handlers_[i]);
  }
  Complaints(const Complaints&) = delete;
  Complaints& operator=(const Complaints&) = delete;

  bool any() const { return any_; }

 private:
  static constexpr std::array<const char*, 2> domains = {"libgsf", "libgsf:msole"};
  std::array<guint, domains.size()> handlers_{};
  bool any_ = false;
};

void add_compound_file(const Place& file, Packing& packing, Notes& notes) {
  const auto bytes = whole(file, largest_file);
  gsf_init();
  const Complaints complaints;
  const Input input(bytes ? gsf_input_memory_new(reinterpret_cast<const guint8*>(bytes->data()),
                                                 static_cast<gsf_off_t>(bytes->size()), FALSE)
                          : nullptr);
  const Infile root(input ? gsf_infile_msole_new(input.get(), nullptr) : nullptr);
  if (!root) return packing.leave_out(Kind::notes, cause_at(file, Cause::damaged), file.path);
  const int count = gsf_infile_num_children(root.get());
  for (int i = 0; i < std::min(count, most_notes); ++i) {
    const Input child(gsf_infile_child_by_index(root.get(), i));
    if (child && GSF_IS_INFILE(child.get())) add_storage(GSF_INFILE(child.get()), file.path, packing, notes);
  }
  if (count > most_notes || complaints.any()) packing.tell_of(Kind::notes, Cause::damaged, file.path);
}

// ---- The marks in a text ---------------------------------------------------------------------------------

constexpr std::array<std::string_view, 8> marks = {R"(\b)",  R"(\b0)",  R"(\i)",      R"(\i0)",
                                                   R"(\ul)", R"(\ul0)", R"(\strike)", R"(\strike0)"};

// With the blank behind it; 0 when none begins there. A longer word is text: "C:\birds".
std::size_t size_of_mark(std::string_view text) {
  for (const std::string_view mark : marks) {
    if (!text.starts_with(mark)) continue;
    if (text.size() == mark.size()) return mark.size();
    const char next = text[mark.size()];
    if (next == ' ') return mark.size() + 1;
    if (next == '\\' || next == '\n' || next == '\r') return mark.size();
  }
  return 0;
}

// "\id=GUID " in front of a line.
std::size_t size_of_line_mark(std::string_view text) {
  if (!text.starts_with(R"(\id=)")) return 0;
  const std::size_t end = std::min(text.find_first_of(" \r\n"), text.size());
  return end < text.size() && text[end] == ' ' ? end + 1 : end;
}

}  // namespace

std::string shown_text(std::string_view text) {
  std::string shown;
  for (std::size_t i = 0; i < text.size();) {
    const bool is_start = i == 0 || text[i - 1] == '\n';
    const std::size_t line_mark = is_start ? size_of_line_mark(text.substr(i)) : 0;
    const std::size_t mark = line_mark > 0 ? line_mark : size_of_mark(text.substr(i));
    if (mark == 0) shown += text[i];
    i += std::max<std::size_t>(mark, 1);
  }
  return shown;
}

void add_sticky_notes(Packing& packing, const Person& person, Notes& notes) {
  const Tree& tree = *person.home.tree;
  if (const auto found = find(tree, person.home.path, store_of_windows_7);
      found && found->entry.what == What::file)
    add_compound_file({.tree = &tree, .path = found->path}, packing, notes);
  if (const auto found = find(tree, person.home.path, store_of_windows_10);
      found && found->entry.what == What::file)
    add_database({.tree = &tree, .path = found->path}, packing, notes);
}

}  // namespace pack
