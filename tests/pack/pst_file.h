// Data files of Outlook, made for tests by their published layout.
#ifndef BRINDLE_TESTS_PACK_PST_FILE_H
#define BRINDLE_TESTS_PACK_PST_FILE_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pst {

/// A property: its id, the type of its value, the value's bytes.
struct Property {
  std::uint16_t id;
  std::uint16_t type;
  std::string data;
};
using Properties = std::vector<Property>;

/// `value` is UTF-8, and becomes UTF-16; as `ansi` it stays as it is.
Property text(std::uint16_t id, std::string_view value);
Property ansi(std::uint16_t id, std::string_view value);
Property number(std::uint16_t id, std::int32_t value);
Property flag(std::uint16_t id, bool value);
Property binary(std::uint16_t id, std::string value);
/// Seconds since 1970.
Property time(std::uint16_t id, std::int64_t value);
Property texts(std::uint16_t id, const std::vector<std::string>& values);
Property ansi_texts(std::uint16_t id, const std::vector<std::string>& values);

struct Attachment;

struct Item {
  Properties properties;  ///< 0x001A is its class: "IPM.Note"
  std::vector<Properties> recipients{};
  std::vector<Attachment> attachments{};
};

struct Attachment {
  Properties properties;
  std::vector<Item> message{};  ///< of one that is a message: that, alone
  std::string object{};         ///< of one that is an object of some program: its bytes
};

struct Folder {
  std::string name;
  std::string container = "IPF.Note";
  std::vector<Item> items{};
  std::vector<Folder> folders{};
  Properties properties{};       ///< further ones
  bool has_contents = true;      ///< a table of what lies in it
  std::vector<Item> unlisted{};  ///< what lies in it besides, and the table does not have
};

/// The sets of named properties, by the number in their GUID {000620NN-...}.
inline constexpr int appointment_set = 2, task_set = 3, contact_set = 4, common_set = 8, note_set = 0x0E;
/// That of meetings.
inline constexpr int meeting_set = -2;
/// That of names which are texts.
inline constexpr int strings_set = -1;

class File {
 public:
  enum Form { unicode, ansi_form, pages_of_4k };
  enum Cipher : unsigned char { none, permutation, cyclic, bound_to_windows = 0x10 };

  explicit File(Form form = unicode) : form_(form) {}

  /// The id for a property of a set, by its number or its name.
  std::uint16_t named(int set, std::uint32_t number);
  std::uint16_t named(const std::string& name);

  /// Folders at the top. The place of one in `folders` may be given here: it is then the usual one.
  std::vector<Folder> folders;
  /// What lies in no folder but the one that holds them all, whose name is "Top of Outlook data file".
  std::vector<Item> at_top;
  std::optional<std::size_t> deleted, sent, outbox, inbox, drafts;

  /// The number of the form, where it is not the usual one.
  std::optional<int> version;

  /// What was done to the blocks of data. A key of Windows nobody has here: of that there is the code alone.
  Cipher cipher = none;

  /// The file's bytes.
  std::string bytes();

  /// Where block number `n` of those that hold data lies in the bytes that were made last, and its size.
  struct Place {
    std::size_t at;
    std::size_t size;
  };
  std::vector<Place> blocks;
  /// Where the pages of the two indexes lie.
  std::vector<std::size_t> pages;
  /// The blocks, by their numbers above, of the node whose bytes hold this text.
  std::optional<std::size_t> block_with(std::string_view text, std::string_view bytes) const;

 private:
  struct Node;
  struct Name;

  std::uint64_t add_block(std::string data, bool is_list);
  std::uint64_t add_data(const std::string& data);
  std::uint64_t add_blocks(const std::vector<std::string>& parts);
  std::uint64_t add_subnodes(const std::map<std::uint32_t, Node>& nodes);
  Node properties_node(const Properties& properties, std::map<std::uint32_t, Node> subnodes = {});
  Node table_node(const std::vector<std::pair<std::uint32_t, Properties>>& rows, Properties columns = {});
  Node item_node(const Item& item);
  void add_folder(const Folder& folder, std::uint32_t id, std::uint32_t parent, const Properties& further);
  std::pair<std::uint64_t, std::uint64_t> add_tree(
      const std::vector<std::pair<std::uint64_t, std::string>>& entries, int type, std::size_t entry_size);
  std::string id_bytes(std::uint64_t id) const;
  std::string enciphered(std::string data, std::uint64_t id) const;
  int bits_of_pieces() const { return form_ == pages_of_4k ? 14 : 11; }
  bool is_wide() const { return form_ != ansi_form; }

  Form form_;
  std::string file_;
  std::uint64_t next_block_ = 4;
  std::uint64_t next_page_ = 0x1000;
  std::uint32_t next_item_ = 0x10000;
  std::uint32_t next_subnode_ = 0x400;
  std::map<std::uint64_t, std::string> block_entries_;
  std::map<std::uint64_t, std::string> node_entries_;
  std::vector<std::pair<int, std::uint32_t>> numbered_;
  std::map<std::string, std::uint16_t> strings_;
  std::uint16_t next_name_ = 0;
  std::vector<std::string> name_order_;
  std::vector<std::pair<std::pair<int, std::uint32_t>, std::uint16_t>> names_;
};

}  // namespace pst

#endif
