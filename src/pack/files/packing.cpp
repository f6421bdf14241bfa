#include "pack/files/packing.h"

#include <algorithm>

#include "pack/files/names.h"

namespace pack {

bool is_store_of_mail(std::string_view name) {
  constexpr std::array<std::string_view, 2> endings = {".pst", ".ost"};
  return std::ranges::any_of(endings, [&](std::string_view ending) {
    return name.size() > ending.size() && is_same_name(name.substr(name.size() - ending.size()), ending);
  });
}

std::string name_in_archive(const Place& place, const Entry& entry) {
  std::string name = kept_name(entry.name);
  if (name == entry.name) return name;
  const std::string folder =
      place.path.substr(0, place.path.size() - std::min(entry.name.size() + 1, place.path.size()));
  while (find(*place.tree, folder, name)) name = numbered(name, entry.name);
  return name;
}

Packing::Packing(Parcel& parcel, Tally& tally, std::string folder, const std::set<Kind>& without)
    : parcel_(parcel), tally_(tally), folder_(std::move(folder)), without_(without) {}

void Packing::add_folder(const std::string& name, std::int64_t modified) {
  // Those of a walk come once each; the others are few.
  if (modified == 0 && !folders_.insert(name).second) return;
  parcel_.add_folder(joined(folder_, name), modified);
}

bool Packing::is_taken(const std::string& name) const {
  return std::ranges::any_of(taken_, [&](const std::string& other) { return is_same_name(name, other); }) ||
         std::ranges::any_of(documents_, [&](const Place& folder) {
           return find(*folder.tree, folder.path, name).has_value();
         });
}

std::string Packing::free_name(const std::string& wanted) {
  std::string name = wanted;
  for (int number = 2; is_taken(name); ++number) name = wanted + " " + std::to_string(number);
  taken_.push_back(name);
  return name;
}

void Packing::add_file(Kind kind, const std::string& name, const Place& place, const Entry& entry) {
  if (entry.gap) return leave_out(kind, *entry.gap, place.path);
  if (name.size() > longest_name) return leave_out(kind, Cause::path_too_long, place.path);
  const Outcome outcome = parcel_.add_file(joined(folder_, name), *place.tree, place.path, entry);
  if (outcome.cause) {
    tally_.remark(kind, *outcome.cause, place.path, outcome.bytes);
  } else {
    tally_.packed(kind, outcome.bytes);
  }
}

bool Packing::is_unpacked(const Place& file) const {
  const auto found = unpacked_.find({file.tree, file.path});
  return found != unpacked_.end() && found->second.size() == unpacked_kinds.size();
}

void Packing::add_text(Kind kind, const std::string& name, std::string_view content, std::size_t things) {
  parcel_.add_text(joined(folder_, name), content);
  for (; things > 1; --things) tally_.packed(kind, 0);
  tally_.packed(kind, content.size());
}

void Packing::add_stream(const std::string& name, std::uint64_t most,
                         const std::function<void(const Writer& write)>& make) {
  parcel_.add_stream(joined(folder_, name), most, make);
}

void Packing::add_control(const std::string& name, std::string_view content) {
  parcel_.add_text(joined(folder_, name), content);
}

void Packing::leave_out(Kind kind, Cause cause, const std::string& path) {
  if (wants(kind)) tally_.remark(kind, cause, path);
}

}  // namespace pack
