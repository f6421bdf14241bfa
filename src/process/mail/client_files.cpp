#include "process/mail/client_files.h"

#include <cstdio>
#include <utility>

#include "process/archive/layout.h"
#include "shell/pieces.h"
#include "shell/replace.h"
#include "shell/run.h"

namespace {

constexpr std::size_t line_limit = 1023;
constexpr std::size_t block_size = std::size_t{1} << 16;

bool reported(bool written) {
  if (!written) std::printf("\nERROR :: Could not create file");
  return written;
}

}  // namespace

std::optional<std::vector<std::string>> account_files(const std::string& root) {
  const std::string folder = root + "/" + layout::mail_accounts;
  std::optional<std::vector<std::string>> files = list_folder(folder);
  if (!files) {
    std::perror("In mail_account() opendir: ");
    return std::nullopt;
  }
  for (std::string& file : *files) file = folder + "/" + file;
  return files;
}

bool replace_client_file(const std::string& path, const std::string& text) {
  return reported(replace_file(path, text));
}

bool append_to_client_file(const std::string& path, const std::string& text) {
  return reported(append_to_file(path, text));
}

bool rewrite_lines(const std::string& from, const std::string& to, LineRules rules) {
  const File in = open_file(from, "r");
  File out = open_file(to, "w");
  if (!in && !out) return true;  // neither the folder nor anything to write
  if (!in || !out) return out != nullptr;
  std::setvbuf(out.get(), nullptr, _IONBF, 0);  // blocks are written
  PieceReader reader(in.get(), line_limit, block_size);
  LineRewriter rewriter(std::move(rules), line_limit);
  for (std::string_view lines; reader.next_block(lines);) write_text(out, rewriter.rewrite(lines));
  return close_file(out);
}

void convert_contacts(const std::string& mail, const char* script, const std::string& to) {
  SYSTEM(compose("perl %s <%s >%s", script, mail + "/" + layout::contacts_file, to));
  convert_line_ends(to);
}

int run_and_trace(const shell::Command& command) {
  const int status = shell::run_for_status(command);
  std::printf("Command::%s", command.c_str());
  return status;
}
