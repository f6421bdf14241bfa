// Every reader's harness without libFuzzer: the inputs that were found and the seeds, changes of the seeds,
// and each seed as a long file.
//
//   replay-readers [--count N] [--long BYTES] [NAME...]
//
// N: changes of each seed, 60 unless said. BYTES: how long the long files are, 64 KiB unless said; 0 for
// none. Runs itself in a private view of the machine. Ends at the first input that is a find, and names it.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "replay/mutate.h"

#define READER(name) extern "C" int fuzz_##name(const std::uint8_t* data, std::size_t size);
#include "readers.def"
#undef READER

namespace fs = std::filesystem;

namespace {

struct Reader {
  const char* name;
  int (*read)(const std::uint8_t*, std::size_t);
};

constexpr Reader readers[] = {
#define READER(name) {#name, fuzz_##name},
#include "readers.def"
#undef READER
};

constexpr unsigned most_seconds = 20;  // for one input, under the address checker and beside other tests

struct Options {
  std::uint64_t count = 60;
  std::size_t longest = std::size_t{1} << 16;
  std::vector<std::string> names;
};

int report = STDERR_FILENO;
char input_name[512];

[[noreturn]] void start_again_in_view(char** words) {
  const char* const tool = BRINDLE_SOURCE_DIR "/tools/view";
  std::vector<char*> again = {const_cast<char*>(tool), const_cast<char*>("--")};
  for (; *words != nullptr; ++words) again.push_back(*words);
  again.push_back(nullptr);
  execv(tool, again.data());
  std::perror(tool);
  std::exit(77);  // no view, no test: counted as skipped, never as passed
}

// Only calls that a signal's handler may make.
void name_input(int signal) {
  static_cast<void>(!write(report, input_name, std::strlen(input_name)));
  const char* const what = signal == SIGALRM ? " takes too long\n" : " is a find\n";
  static_cast<void>(!write(report, what, std::strlen(what)));
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

void try_input(const Reader& reader, const std::string& input, const std::string& called) {
  std::snprintf(input_name, sizeof input_name, "%s: %s", reader.name, called.c_str());
  alarm(most_seconds);
  reader.read(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
  alarm(0);
}

std::string content_of(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<fs::path> files_in(const fs::path& folder) {
  std::vector<fs::path> files;
  std::error_code missing;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder, missing))
    if (entry.is_regular_file()) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

std::size_t try_seed(const Reader& reader, const fs::path& file, const Options& options) {
  const std::string seed = content_of(file);
  const std::string name = file.filename();
  try_input(reader, seed, name);
  for (std::uint64_t number = 1; number <= options.count; ++number)
    try_input(reader, mutated(seed, number), name + " with change " + std::to_string(number));
  if (options.longest > 0)
    try_input(reader, stretched(seed, options.longest),
              name + " stretched to " + std::to_string(options.longest));
  return options.count + 2;
}

// Of those that make-seeds has made while this was built.
fs::path made_seeds() { return fs::read_symlink("/proc/self/exe").parent_path() / "../fuzz/made"; }

std::size_t try_reader(const Reader& reader, const Options& options) {
  const std::string fuzz = std::string(std::getenv("BRINDLE_VIEW_SOURCE")) + "/fuzz/";
  std::size_t tried = 1;
  try_input(reader, "", "nothing");
  for (const fs::path& file : files_in(fuzz + "found/" + reader.name)) {
    try_input(reader, content_of(file), "found/" + file.filename().string());
    ++tried;
  }
  for (const fs::path& folder : {fs::path(fuzz + "seeds"), made_seeds()})
    for (const fs::path& file : files_in(folder / reader.name)) tried += try_seed(reader, file, options);
  return tried;
}

Options options_of(int argc, char** argv) {
  Options options;
  for (int at = 1; at < argc; ++at) {
    const std::string word = argv[at];
    const bool has_value = at + 1 < argc;
    if (word == "--count" && has_value) {
      options.count = std::strtoull(argv[++at], nullptr, 10);
    } else if (word == "--long" && has_value) {
      options.longest = std::strtoull(argv[++at], nullptr, 10);
    } else {
      options.names.push_back(word);
    }
  }
  return options;
}

bool is_wanted(const Reader& reader, const Options& options) {
  return options.names.empty() ||
         std::find(options.names.begin(), options.names.end(), reader.name) != options.names.end();
}

// The readers say much, on both.
void silence() {
  report = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 10);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nowhere, STDOUT_FILENO);
  dup2(nowhere, STDERR_FILENO);
  close(nowhere);
}

}  // namespace

int main(int argc, char** argv) {
  if (std::getenv("BRINDLE_VIEW") == nullptr) start_again_in_view(argv);
  const Options options = options_of(argc, argv);
  silence();
  std::signal(SIGABRT, name_input);
  std::signal(SIGALRM, name_input);
  for (const Reader& reader : readers) {
    if (!is_wanted(reader, options)) continue;
    const std::clock_t begun = std::clock();
    const std::size_t tried = try_reader(reader, options);
    dprintf(report, "%-20s %6zu inputs %6.2f s\n", reader.name, tried,
            static_cast<double>(std::clock() - begun) / CLOCKS_PER_SEC);
  }
}
