// "list": the characters of a folder or a table, for people and for programs that build them.
#include <iostream>

#include "arguments.h"
#include "delivery.h"
#include "inputs.h"
#include "json.h"
#include "texttable.h"

namespace {

Json ListJson(const Arguments& arguments, const std::vector<DeliveredCharacter>& characters) {
  Json answer = JsonHeader("list");
  answer["delivery"] = arguments.files[0];
  answer["characters"] = Json::array();
  for (const DeliveredCharacter& character : characters) {
    answer["characters"].push_back(
        {{"name", character.name},
         {"model", character.model},
         {"mapping", character.dof.empty() ? Json(nullptr) : Json(character.dof)},
         {"options", character.options},
         {"scale_factor", character.scale_factor.value_or(arguments.scale_factor)},
         {"mesh_per_body", character.mesh_per_body}});
  }
  return answer;
}

void PrintList(const std::vector<DeliveredCharacter>& characters) {
  TextTable table;
  table.add({"name", "model", "mapping", "options"});
  int without = 0;
  for (const DeliveredCharacter& character : characters) {
    std::string options;
    for (const std::string& word : character.options)
      options += (options.empty() ? "" : " ") + word;
    const bool has_mapping = !character.dof.empty();
    if (!has_mapping) ++without;
    table.add({character.name, character.model, has_mapping ? character.dof : "none", options},
              has_mapping ? Style::Plain : Style::Warning);
  }
  table.printOn(std::cout);
  std::cout << Counted(static_cast<long long>(characters.size()), "character", "characters");
  if (without > 0) std::cout << ", " << without << " without a mapping, which is not converted";
  std::cout << "\n";
}

}  // namespace

int RunList(const Arguments& arguments) {
  const std::string& delivery = arguments.files[0];
  std::vector<DeliveredCharacter> characters;
  if (!IsDelivery(delivery)) {
    Complain(delivery, "There is no such folder or table (.csv).");
    return kExitTrouble;
  }
  const bool is_read = ReadDelivery(delivery, &characters);
  if (!TellMessages(delivery, TakeMessages()) || !is_read) return kExitTrouble;
  if (arguments.json) {
    PrintJson(ListJson(arguments, characters), std::cout);
  } else {
    PrintList(characters);
  }
  return kExitGood;
}
