// brindle-screens: shows every window of the wizard in the language of the environment, and tells what is
// wrong with it or keeps a picture of it.
//
//   brindle-screens [--dpi N]... [--pictures] [--faults] [NAME...]
//
// NAMEs are of single windows. Runs in a private view in which the program's files are installed: it changes
// by which system it is on. Prints a table (tools/tables.py) with a row "screen" for each window and a row
// "fault" for each fault of it; with --pictures DPI-NAME.png is left in the current folder.
//
// Exit status: 0, with and without faults; 2 when a window could not be shown.
#include <gtk/gtk.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "interface/texts.h"
#include "screens-support/inspection.h"
#include "screens-support/picture.h"
#include "screens-support/windows.h"

namespace {

struct Wish {
  std::vector<int> resolutions;
  bool pictures = false;
  bool faults = false;
  std::vector<std::string> names;  ///< none: all
};

Wish wish_of(int argc, char** argv) {
  Wish wish;
  for (int at = 1; at < argc; ++at) {
    const std::string word = argv[at];
    if (word == "--faults") {
      wish.faults = true;
    } else if (word == "--dpi" && at + 1 < argc) {
      wish.resolutions.push_back(std::atoi(argv[++at]));
    } else if (word == "--pictures") {
      wish.pictures = true;
    } else {
      wish.names.push_back(word);
    }
  }
  if (wish.resolutions.empty()) wish.resolutions = {96};
  return wish;
}

// ---- The table -------------------------------------------------------------------------------------------

// What the program prints itself goes nowhere.
std::FILE* take_output() {
  std::FILE* table = fdopen(dup(STDOUT_FILENO), "w");
  if (table == nullptr || std::freopen("/dev/null", "w", stdout) == nullptr) std::exit(2);
  return table;
}

std::string cell(const std::string& text) {
  std::string written;
  for (const char letter : text) {
    if (letter == '\\') written += "\\\\";
    if (letter == '\t') written += "\\t";
    if (letter == '\n') written += "\\n";
    if (std::strchr("\\\t\n", letter) == nullptr) written += letter;
  }
  return written;
}

void write_row(std::FILE* table, const std::vector<std::string>& cells) {
  for (std::size_t at = 0; at < cells.size(); ++at)
    std::fprintf(table, "%s%s", at == 0 ? "" : "\t", cell(cells[at]).c_str());
  std::fputc('\n', table);
}

// ---- The screens -----------------------------------------------------------------------------------------

// The same as the program's own: the look of each language is a file of its own.
void load_look() {
  const std::string language = get_language();
  const std::string path = "/usr/local/brindle/.gtkrc-" + (language == "en_US" ? "2.0" : language);
  gtk_rc_parse(path.c_str());
}

void set_resolution(int dpi) {
  g_object_set(gtk_settings_get_default(), "gtk-xft-dpi", dpi * PANGO_SCALE, nullptr);
}

void write_faults(std::FILE* table, const std::vector<std::string>& place, const std::vector<Fault>& faults) {
  for (const Fault& fault : faults) {
    std::vector<std::string> row = {"fault"};
    row.insert(row.end(), place.begin(), place.end());
    row.insert(row.end(), {fault.widget, fault.text, fault.what});
    write_row(table, row);
  }
}

bool look_at(const Screen& screen, int dpi, const Wish& wish, std::FILE* table) {
  GtkWidget* window = screen.show();
  wait_until_drawn_whole();
  const Picture picture = window != nullptr ? picture_of(window) : nullptr;
  if (picture == nullptr) return false;
  const std::vector<std::string> place = {std::to_string(dpi), screen.name, screen.keys};
  const char* title = gtk_window_get_title(GTK_WINDOW(window));
  write_row(table,
            {"screen", place[0], place[1], place[2], screen.builder, title != nullptr ? title : "", ""});
  if (wish.faults) {
    write_faults(table, place, faults_in(window));
    write_faults(table, place, faults_in_picture(window));
  }
  if (!wish.pictures) return true;
  const std::string path = place[0] + "-" + screen.name + ".png";
  return gdk_pixbuf_save(framed(window, picture, screen.name).get(), path.c_str(), "png", nullptr, nullptr) !=
         FALSE;
}

}  // namespace

int main(int argc, char** argv) {
  std::FILE* table = take_output();
  gtk_init(&argc, &argv);
  const Wish wish = wish_of(argc, argv);
  load_look();
  int status = 0;
  for (const int dpi : wish.resolutions) {
    set_resolution(dpi);
    for (const Screen& screen : all_screens()) {
      if (!wish.names.empty() && std::ranges::find(wish.names, screen.name) == wish.names.end()) continue;
      if (!look_at(screen, dpi, wish, table)) {
        std::fprintf(stderr, "brindle-screens: %s cannot be shown\n", screen.name);
        status = 2;
      }
      close_all_windows();
    }
  }
  std::fclose(table);
  std::fflush(nullptr);
  _exit(status);  // what the toolkit still has is not looked at by a leak checker
}
