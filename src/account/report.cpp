#include "account/report.h"

#include "account/model/field.h"

namespace account {
namespace {

std::string counts(const Tally& tally) {
  std::string result;
  for (const std::size_t count :
       {tally.found(), tally.unchanged(), tally.changed(), tally.elsewhere(), tally.missing().size()})
    result += "\t" + std::to_string(count);
  return result;
}

}  // namespace

std::string table_of_counts(const std::vector<PersonAccount>& people) {
  std::string table = "person\tkind\tfound\tunchanged\tchanged\telsewhere\tmissing\n";
  for (const PersonAccount& person : people)
    for (const Line& line : person.lines)
      table += field(person.person.login) + "\t" + name_of(line.kind).table + counts(line.tally) + "\n";
  return table;
}

std::string table_of_missing(const std::vector<PersonAccount>& people, const Texts& texts) {
  std::string table = "person\tkind\tname\tcause\n";
  for (const PersonAccount& person : people)
    for (const Line& line : person.lines)
      for (const Missing& thing : line.tally.missing())
        table += field(person.person.login) + "\t" + name_of(line.kind).table + "\t" + field(thing.name) +
                 "\t" + field(texts(thing.cause, thing.detail)) + "\n";
  return table;
}

std::string plain_text(const std::vector<PersonAccount>& people, const Texts& texts) {
  return table_of_counts(people) + table_of_missing(people, texts);
}

}  // namespace account
