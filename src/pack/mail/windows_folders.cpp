#include "pack/mail/windows_folders.h"

#include <array>
#include <string_view>

#include "pack/disk/tree.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

// In English, German, French, Spanish, Italian and Dutch; two of a language where programs differ.
struct Names {
  const char* in_archive;
  std::array<std::string_view, 9> on_windows;
};
constexpr std::array all_names{
    Names{layout::inbox,
          {"Inbox", "Posteingang", "Boîte de réception", "Bandeja de entrada", "Posta in arrivo",
           "Postvak IN"}},
    Names{layout::sent,
          {"Sent Items", "Gesendete Objekte", "Gesendete Elemente", "Éléments envoyés", "Elementos enviados",
           "Posta inviata", "Verzonden items"}},
    Names{layout::outbox,
          {"Outbox", "Postausgang", "Boîte d'envoi", "Bandeja de salida", "Posta in uscita", "Postvak UIT"}},
    Names{layout::drafts,
          {"Drafts", "Entwürfe", "Brouillons", "Borrador", "Borradores", "Bozze", "Concepten"}},
    Names{layout::trash,
          {"Deleted Items", "Gelöschte Objekte", "Gelöschte Elemente", "Éléments supprimés",
           "Elementos eliminados", "Posta eliminata", "Verwijderde items"}}};

}  // namespace

std::string usual_mail_folder(const std::string& name) {
  for (const auto& [in_archive, on_windows] : all_names)
    for (const std::string_view one : on_windows)
      if (!one.empty() && is_same_name(name, one)) return in_archive;
  return name;
}

bool is_of_deleted_mail(const std::string& name) {
  return name != layout::trash && usual_mail_folder(name) == layout::trash;
}

}  // namespace pack
