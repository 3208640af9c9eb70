// "list": the characters of a folder or a table, for people and for programs that build them.
#include <iostream>

#include "arguments.h"
#include "delivery.h"
#include "inputs.h"
#include "json.h"
#include "texttable.h"

namespace {

Json ListJson(const Arguments& arguments, const Delivery& delivery) {
  Json answer = JsonHeader("list");
  answer["delivery"] = arguments.files[0];
  answer["characters"] = Json::array();
  for (const DeliveredCharacter& character : delivery.characters) {
    answer["characters"].push_back(
        {{"name", character.name},
         {"model", character.model},
         {"mapping", character.dof.empty() ? Json(nullptr) : Json(character.dof)},
         {"options", character.options},
         {"scale_factor", character.scale_factor.value_or(arguments.scale_factor)},
         {"mesh_per_body", character.mesh_per_body}});
  }
  answer["lone_mappings"] = delivery.lone_mappings;
  return answer;
}

void PrintList(const Delivery& delivery) {
  TextTable table;
  table.add({"name", "model", "mapping", "options"});
  for (const DeliveredCharacter& character : delivery.characters) {
    std::string options;
    for (const std::string& word : character.options)
      options += (options.empty() ? "" : " ") + word;
    const bool has_mapping = !character.dof.empty();
    table.add({character.name, character.model, has_mapping ? character.dof : "none", options},
              has_mapping ? Style::Plain : Style::Warning);
  }
  table.printOn(std::cout);
  const auto count = static_cast<long long>(delivery.characters.size());
  std::cout << Counted(count, "character", "characters") << "\n" << LonelyText(delivery);
}

}  // namespace

int RunList(const Arguments& arguments) {
  const std::string& path = arguments.files[0];
  if (!IsDelivery(path)) {
    Complain(path, "There is no such folder or table (.csv).");
    return kExitTrouble;
  }
  Delivery delivery;
  const bool is_read = ReadDelivery(path, &delivery);
  if (!TellMessages(path, TakeMessages()) || !is_read) return kExitTrouble;
  if (arguments.json) {
    PrintJson(ListJson(arguments, delivery), std::cout);
  } else {
    PrintList(delivery);
  }
  return kExitGood;
}
