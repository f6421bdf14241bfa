// A mail store of Outlook: folders, and what lies in them.
#ifndef BRINDLE_PACK_OUTLOOK_STORE_H
#define BRINDLE_PACK_OUTLOOK_STORE_H

#include <map>
#include <string>
#include <vector>

#include "pack/outlook/properties.h"

namespace pack {

enum class ItemKind : std::uint8_t { message, contact, list_of_contacts, appointment, task, note, journal };

/// Sets of properties whose ids differ from file to file.
enum class PropertySet : std::uint8_t {
  appointment = 2,
  task = 3,
  contact = 4,
  common = 8,
  note = 0x0E,
  strings,
  meeting
};

class Store {
 public:
  struct Folder {
    std::uint32_t id = 0;
    std::vector<std::string> names;  ///< of the folders above it and its own; the usual ones in English
    std::string container;           ///< what Outlook keeps in it: "IPF.Note"; empty when it does not say
    bool is_deleted = false;         ///< what lies in it was thrown away
  };

  struct Item {
    std::uint32_t id = 0;
    std::uint32_t size = 0;  ///< about so many bytes
    ItemKind kind = ItemKind::message;
    bool is_there = true;  ///< false: its folder lists it, and it is lost
  };

  /// `blocks` are those of the file, for as long as the store is used.
  explicit Store(Blocks& blocks) : blocks_(blocks) {}

  Blocks& blocks() { return blocks_; }

  /// All folders that a person sees, those above before those in them. That which holds them all is one when
  /// something lies in it. Names of folders far down leave out some of those above.
  std::vector<Folder> folders();

  /// What lies in a folder.
  std::vector<Item> items(const Folder& folder);

  /// An item's properties. Empty when it cannot be read.
  Properties item(std::uint32_t id);

  /// The id that this file has for a property of a set; 0 when none of its items has it.
  std::uint16_t id_of(PropertySet set, std::uint32_t number);
  std::uint16_t id_of(PropertySet set, const std::string& name);

 private:
  void read_usual_folders();
  void read_names();
  Folder folder_in(const Folder& above, std::uint32_t id);
  std::vector<std::uint32_t> children(std::uint32_t parent);
  NodeBlocks blocks_of(std::uint32_t id);

  Blocks& blocks_;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> by_parent_;  // parent, id
  std::map<std::uint32_t, std::string> usual_;                      // names of folders by their ids
  std::uint32_t deleted_ = 0;
  std::uint32_t top_ = 0;
  bool has_names_ = false;
  std::map<std::pair<PropertySet, std::uint32_t>, std::uint16_t> numbered_;
  std::map<std::pair<PropertySet, std::string>, std::uint16_t> named_;
};

}  // namespace pack

#endif
