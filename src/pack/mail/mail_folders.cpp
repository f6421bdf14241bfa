#include "pack/mail/mail_folders.h"

#include <xxhash.h>

#include <array>
#include <memory>
#include <set>
#include <system_error>
#include <utility>

#include "pack/files/names.h"
#include "pack/mail/mailbox.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

using Digest = std::pair<std::uint64_t, std::uint64_t>;

struct UsualName {
  std::string_view name;
  const char* in_archive;
};
constexpr std::array usual_names{
    UsualName{"INBOX", layout::inbox},   UsualName{"Sent", layout::sent},
    UsualName{"Drafts", layout::drafts}, UsualName{"Trash", layout::trash},
    UsualName{"Outbox", layout::outbox}, UsualName{"Unsent Messages", layout::outbox}};

std::string name_at_top(const std::string& name) {
  for (const auto& [usual, in_archive] : usual_names)
    if (is_same_name(name, usual)) return in_archive;
  return name;
}

// A run leaves out what begins with a dot, and programs do not show it. The ending of folders of subfolders
// makes one wherever it stands.
std::string shown_name(std::string name) {
  if (name.starts_with('.')) name.front() = '_';
  for (std::size_t at = 0; (at = name.find(layout::subfolders, at)) != std::string::npos;) name[at] = '_';
  return name;
}

// A file with one message, read as a mailbox: with a line "From " in front, and those of its text made
// others.
class OneMessage : public Content {
 public:
  explicit OneMessage(std::unique_ptr<Content> content) : content_(std::move(content)) {}

  std::size_t read(char* to, std::size_t most) override {
    while (ready_.empty() && !is_at_end_) take_more();
    const std::size_t count = ready_.copy(to, most);
    ready_.erase(0, count);
    return count;
  }

 private:
  void take_more() {
    std::array<char, 4096> block{};
    const std::size_t count = content_->read(block.data(), block.size());
    is_at_end_ = count == 0;
    for (const char byte : std::string_view(block.data(), count)) {
      piece_ += byte;
      if (byte == '\n' || piece_.size() == longest_piece) end_piece();
    }
    if (is_at_end_) end_piece();
  }
  void end_piece() {
    if (begins_line_ && piece_.starts_with("From ")) ready_ += '>';
    begins_line_ = piece_.ends_with('\n');
    ready_ += std::exchange(piece_, "");
  }

  std::unique_ptr<Content> content_;
  static constexpr std::size_t longest_piece = std::size_t{1} << 16;

  std::string piece_;  // of a line
  std::string ready_{line_without_date};
  bool begins_line_ = true;
  bool is_at_end_ = false;
};

std::optional<Cause> each_message(std::unique_ptr<Content> content, const Take& take) {
  MailboxReader reader(*content);
  while (const auto head = reader.next()) reader.body(take(*head));
  return reader.has_begun_with_something_else() ? std::optional(Cause::no_mailbox) : std::nullopt;
}

using Complain = std::function<void(Cause cause, const std::string& path)>;

// One of a maildir's folders may be missing.
std::vector<Entry> entries_in(const Tree& tree, const std::string& folder, const Complain& complain) {
  try {
    return tree.list(folder);
  } catch (const std::system_error& error) {
    if (error.code() == std::errc::no_such_file_or_directory) return {};
    tree.note_told(folder);
    complain(Cause::unreadable, folder);
  }
  return {};
}

// Hands out the messages of a source in their order; what cannot be read is told to `complain`.
void each_message(const MailFolders::Source& source, const Take& take, const Complain& complain) {
  if (source.written) return source.written(take, complain);
  const Tree& tree = *source.place.tree;
  if (source.messages) {
    try {
      source.messages(
          [&](std::unique_ptr<Content> message) {
            each_message(std::make_unique<OneMessage>(std::move(message)), take);
          },
          complain);
    } catch (const std::system_error&) {
      complain(Cause::unreadable, source.place.path);
    }
    return;
  }
  if (!source.is_maildir) {
    try {
      if (const auto cause = each_message(tree.open(source.place.path), take))
        complain(*cause, source.place.path);
    } catch (const std::system_error&) {
      complain(Cause::unreadable, source.place.path);
    }
    return;
  }
  for (const char* part : {"cur", "new"}) {
    for (const Entry& entry : entries_in(tree, joined(source.place.path, part), complain)) {
      const std::string path = joined(joined(source.place.path, part), entry.name);
      if (entry.gap || entry.what != What::file) {
        complain(entry.gap.value_or(Cause::no_mailbox), path);
        continue;
      }
      try {
        each_message(std::make_unique<OneMessage>(tree.open(path)), take);
      } catch (const std::system_error&) {
        complain(Cause::unreadable, path);
      }
    }
  }
  // Messages that their program had not finished writing.
  for (const Entry& entry : entries_in(tree, joined(source.place.path, "tmp"), complain))
    complain(Cause::no_mailbox, joined(joined(source.place.path, "tmp"), entry.name));
}

// What a message is known by: all of it, but what programs note in it for themselves.
class Digester {
 public:
  Digester() : state_(XXH3_createState(), XXH3_freeState) { XXH3_128bits_reset(state_.get()); }

  void take_head(std::string_view head) {
    bool is_note = true;  // the line "From "
    while (!head.empty()) {
      const std::size_t end = std::min(head.find('\n'), head.size() - 1) + 1;
      const std::string_view line = head.substr(0, end);
      head.remove_prefix(end);
      if (!is_note) take(line);
      const bool goes_on = head.starts_with(' ') || head.starts_with('\t');
      if (!goes_on) is_note = is_note_of_a_program(head);
    }
  }
  // Line ends at the end are not the message's: a mailbox has an empty line behind each.
  void take(std::string_view text) {
    const std::size_t size = text.find_last_not_of('\n') + 1;
    if (size > 0) {
      for (; line_ends_ > 0; --line_ends_) XXH3_128bits_update(state_.get(), "\n", 1);
      XXH3_128bits_update(state_.get(), text.data(), size);
    }
    line_ends_ += text.size() - size;
  }
  Digest digest() const {
    const XXH128_hash_t hash = XXH3_128bits_digest(state_.get());
    return {hash.high64, hash.low64};
  }

 private:
  static bool is_note_of_a_program(std::string_view line) {
    return line.starts_with("X-Mozilla-") || line.starts_with("X-UIDL:") ||
           line.starts_with("X-Account-Key:");
  }

  std::unique_ptr<XXH3_state_t, decltype(&XXH3_freeState)> state_;
  std::size_t line_ends_ = 0;
};

std::uint64_t digest_of_head(std::string_view head) {
  Digester digester;
  digester.take_head(head);
  return digester.digest().second;
}

// The messages of a source in their order. The disk may give one only the first time that it is read, or only
// the second time: then the next one is not taken for it.
class Known {
 public:
  void begin(std::string_view head) { messages_.push_back({.head = digest_of_head(head)}); }
  void end(const Digest& digest) { messages_.back().whole = digest; }

  // Of the next one, which has that head. No value when it was not there.
  std::optional<Digest> next(std::string_view head) {
    constexpr std::size_t farthest = 1000;
    const std::size_t end = std::min(messages_.size(), next_ + farthest);
    const std::uint64_t digest = next_ < end ? digest_of_head(head) : 0;
    for (std::size_t number = next_; number < end; ++number) {
      if (messages_[number].head != digest) continue;
      next_ = number + 1;
      return messages_[number].whole;
    }
    return std::nullopt;
  }

 private:
  struct Message {
    std::uint64_t head = 0;
    Digest whole{};
  };
  std::vector<Message> messages_;
  std::size_t next_ = 0;
};

Known known_of(const MailFolders::Source& source) {
  Known known;
  std::unique_ptr<Digester> digester;
  const auto end_message = [&] {
    if (digester) known.end(digester->digest());
  };
  each_message(
      source,
      [&](const std::string& head) -> Writer {
        end_message();
        known.begin(head);
        digester = std::make_unique<Digester>();
        digester->take_head(head);
        return [&digester](std::string_view text) { digester->take(text); };
      },
      [](Cause, const std::string&) {});
  end_message();
  return known;
}

// One folder of the archive while it is written.
class Folder {
 public:
  Folder(Packing& packing, const Writer& write) : packing_(packing), write_(write) {}

  void add(const MailFolders::Source& source, Known known) {
    std::vector<Digest> written;  // a deleted message of this source is no reason to leave the next one's out
    each_message(
        source,
        [&](const std::string& head) {
          const auto digest = known.next(head);
          const bool is_double = digest && earlier_.contains(*digest);
          if (digest && !is_double && !is_deleted(head)) written.push_back(*digest);
          return begin(head, source, is_double);
        },
        [&](Cause cause, const std::string& path) {
          if (is_packed(cause)) return packing_.tell_of(Kind::mail, cause, path);
          packing_.leave_out(Kind::mail, cause, path);
        });
    end_message();
    earlier_.insert(written.begin(), written.end());
  }

 private:
  Writer begin(const std::string& head, const MailFolders::Source& source, bool is_double) {
    end_message();
    if (is_double || is_deleted(head)) {
      packing_.leave_out(Kind::mail, is_double ? Cause::there_already : Cause::deleted, source.place.path);
      return [](std::string_view) {};
    }
    size_ = 0;
    put(head);
    return [this](std::string_view text) { put(text); };
  }

  void put(std::string_view text) {
    write_(text);
    size_ += text.size();
    before_end_ = text.size() > 1 ? text[text.size() - 2] : end_;
    end_ = text.back();
  }

  // The next one's line "From " stands behind an empty line.
  void end_message() {
    if (size_ == 0) return;
    if (end_ != '\n') put("\n");
    if (before_end_ != '\n') put("\n");
    packing_.count(Kind::mail, size_);
    size_ = 0;
  }

  Packing& packing_;
  const Writer& write_;
  std::set<Digest> earlier_;
  std::uint64_t size_ = 0;  // of the message that is written
  char before_end_ = '\0';
  char end_ = '\0';
};

void pack_folder(Packing& packing, const std::string& name, const std::vector<MailFolders::Source>& sources) {
  constexpr std::uint64_t room_for_lines = 4096;
  std::uint64_t most = 0;
  for (const MailFolders::Source& source : sources) most += source.size + source.size / 4 + room_for_lines;
  packing.add_stream(name, most, [&](const Writer& write) {
    Folder folder(packing, write);
    // What one source has twice its owner wanted twice.
    for (const MailFolders::Source& source : sources)
      folder.add(source, sources.size() > 1 ? known_of(source) : Known());
  });
}

}  // namespace

void MailFolders::add(const std::vector<std::string>& names, const Source& source) {
  std::string path;
  for (const std::string& name : names) {
    const std::string kept = shown_name(kept_name(name));
    path += path.empty() ? name_at_top(kept) : std::string(layout::subfolders) + "/" + kept;
    folders_.try_emplace(path);
  }
  folders_[path].push_back(source);
}

void MailFolders::pack(Packing& packing) const {
  // A run looks at mail only where both are there.
  if (!folders_.empty())
    for (const char* folder : {layout::mail, layout::mail_accounts, layout::mail_folders})
      packing.add_folder(folder);
  for (const auto& [path, sources] : folders_) {
    const std::string name = std::string(layout::mail_folders) + "/" + path;
    for (std::size_t slash = name.find('/'); (slash = name.find('/', slash + 1)) != std::string::npos;)
      packing.add_folder(name.substr(0, slash));
    pack_folder(packing, name, sources);
  }
}

}  // namespace pack
