#include "callbacks/driver_choice.h"

#include <cstdio>
#include <string_view>

#include "system/detection.h"
#include "interface/windows.h"
#include "state/state.h"

namespace {

struct Model {
  const char* ppd;      // "GNome"
  const char* redflag;  // foomatic listing lines
  const char* kde;
};

// The lines are cut off where foomatic's listing was cut when the models were picked; only the Id= and
// Driver= fields are read from them. Both Epson dot matrix models share one line.
constexpr const char* stylus_color =
    "Epson Stylus Color 300 Id='Epson-Stylus_Color_300' Driver='stcolor' CompatibleDrivers";
constexpr const char* dot_matrix = "Epson Dot Matrix Id='Epson-Dot_Matrix' Driver='epsonc' CompatibleDrivers";
constexpr const char* deskjet = "HP DeskJet 200 Id='HP-DeskJet_200' Driver='pcl3' CompatibleDrivers=' '";
constexpr const char* laserjet = "HP LaserJet Id='HP-LaserJet' Driver='laserjet' Com";

// In the order of enum driver; SKIP has none.
constexpr Model models[] = {
    {"stphoto.ppd.gz", "Epson Stylus Photo Id='Epson-Stylus_Photo' Driver='gimp-print' Compatible",
     "Epson Stylus Photo 720 Id='Epson-Stylus_Photo_720' Driver='stp' Compa"},
    {"stcolor.ppd.gz", stylus_color, stylus_color},
    {"epson24.ppd.gz", dot_matrix, dot_matrix},
    {"epson9.ppd.gz", dot_matrix, dot_matrix},
    {"deskjet.ppd.gz", deskjet, deskjet},
    {"laserjet.ppd.gz", laserjet, laserjet},
};

const char* answer(enum driver choice, std::string_view system) {
  if (choice < STPHOTO || choice >= SKIP) return "";
  const Model& model = models[choice];
  if (system == "GNome") return model.ppd;
  return system == "RedFlag" ? model.redflag : model.kde;
}

}  // namespace

void on_stphoto_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { driverselection = STPHOTO; }
void on_stcolor_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { driverselection = STCOLOR; }
void on_epson24_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { driverselection = EPSON24; }
void on_epson9_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { driverselection = EPSON9; }
void on_deskjet_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { driverselection = DESKJET; }
void on_laserjet_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { driverselection = LASERJET; }
void on_skip_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { driverselection = SKIP; }

void on_window_select_driver_next2_clicked(GtkButton* button, gpointer /*user_data*/) {
  getOsVersion("");
  std::printf("OSName::%s", OSName);
  assign(selecteddriver, answer(driverselection, OSName));
  destroy_window_of(GTK_WIDGET(button));
  isWindowSelectDriverOpen = 0;  // last: the worker reads the answer as soon as it sees this
}

gboolean on_window_select_driver_delete_event(GtkWidget* /*widget*/, GdkEvent* /*event*/,
                                              gpointer /*user_data*/) {
  return TRUE;
}
