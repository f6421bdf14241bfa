#include "callbacks/driver_choice.h"

#include <cstdio>

#include "interface/windows.h"
#include "state/question.h"
#include "state/state.h"
#include "system/capabilities.h"
#include "system/detection.h"
#include "system/system.h"

namespace {

struct Model {
  const char* ppd;
  const char* redflag;  // lines of a foomatic listing
  const char* kde;
};

// Deliberate: part of the format. The lines end where they are cut off here, and both Epson dot matrix models
// share one; only the fields Id= and Driver= are read from them.
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

const char* answer_for(enum driver choice, DriverAnswers answers) {
  if (choice < STPHOTO || choice >= SKIP) return "";
  const Model& model = models[choice];
  switch (answers) {
    case DriverAnswers::ppd_files:
      return model.ppd;
    case DriverAnswers::redflag_lines:
      return model.redflag;
    case DriverAnswers::kde_lines:
      return model.kde;
  }
  return "";
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
  driver_question.keep_answer(0, answer_for(driverselection, capabilities(detected_system()).driver_answers));
  destroy_window_of(GTK_WIDGET(button));
  driver_question.close();
}

gboolean on_window_select_driver_delete_event(GtkWidget* widget, GdkEvent* /*event*/,
                                              gpointer /*user_data*/) {
  gtk_widget_destroy(widget);
  driver_question.decline();
  return TRUE;
}
