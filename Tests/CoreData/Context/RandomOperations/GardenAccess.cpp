#include "Tests/CoreData/Context/RandomOperations/GardenAccess.h"

#include <limits>
#include <optional>
#include <type_traits>

namespace graph {

using coredata::NSManagedObject;
using foundation::make;
using foundation::Ref;
using garden::Bed;
using garden::Label;
using garden::Plant;
using garden::Tool;

namespace {

/// Exact: two values print alike only if they are equal.
template <typename V>
std::string printed(const V& value) {
  if constexpr (std::is_arithmetic_v<V>) {
    return std::to_string(value);
  } else if constexpr (std::is_same_v<V, std::string>) {
    return "'" + value + "'";
  } else {
    return foundation::Value(value).description();
  }
}
std::string printed(const foundation::Date& value) {
  return std::to_string(value.timeIntervalSinceReferenceDate());
}
template <typename V>
std::string printed(const std::optional<V>& value) {
  return value ? printed(*value) : "-";
}

template <typename T, typename V, typename S>
Attribute attribute(std::string name, V (T::*get)() const, void (T::*set)(S),
                    std::vector<V> choices) {
  Attribute result;
  result.name = std::move(name);
  for (const V& choice : choices) result.printed.push_back(printed(choice));
  result.set = [set, choices = std::move(choices)](NSManagedObject& object, std::size_t choice) {
    (static_cast<T&>(object).*set)(choices[choice]);
  };
  result.read = [get](const NSManagedObject& object) {
    return printed((static_cast<const T&>(object).*get)());
  };
  return result;
}

using Text = std::optional<std::string>;

std::vector<Attribute> plantAttributes() {
  using foundation::Data;
  using foundation::Date;
  using foundation::NSNumber;
  using foundation::UUID;
  return {
      attribute("name", &Plant::name, &Plant::setName,
                {Text(), Text("ash"), Text("elm"), Text("as"), Text("Ähre"), Text("")}),
      attribute("height", &Plant::height, &Plant::setHeight, {0.0, 1.5, -2.0, 7.0}),
      attribute("leaves", &Plant::leaves, &Plant::setLeaves,
                std::vector<std::int16_t>{2, 0, -32768, 32767}),
      attribute("seeds", &Plant::seeds, &Plant::setSeeds,
                std::vector<std::int32_t>{0, 1, std::numeric_limits<std::int32_t>::min()}),
      attribute("cells", &Plant::cells, &Plant::setCells,
                std::vector<std::int64_t>{0, 5, std::numeric_limits<std::int64_t>::max()}),
      attribute("evergreen", &Plant::evergreen, &Plant::setEvergreen, {false, true}),
      attribute("planted", &Plant::planted, &Plant::setPlanted,
                std::vector<std::optional<Date>>{std::nullopt, Date::fromReference(0),
                                                 Date::fromReference(738000000.123456)}),
      attribute("photo", &Plant::photo, &Plant::setPhoto,
                std::vector<std::optional<Data>>{std::nullopt, Data(), Data::fromText("\x01\x02"),
                                                 Data::fromText(std::string(600, 'x'))}),
      attribute("code", &Plant::code, &Plant::setCode,
                std::vector<std::optional<UUID>>{
                    std::nullopt, UUID::fromString("00000000-0000-4000-8000-000000000001")}),
      attribute("latitude", &Plant::latitude, &Plant::setLatitude,
                std::vector<std::optional<NSNumber>>{std::nullopt, NSNumber(0.0), NSNumber(-0.5)}),
  };
}

}  // namespace

const std::vector<Attribute>& attributesOf(Kind kind) {
  static const std::vector<Attribute> plant = plantAttributes();
  static const std::vector<Attribute> label{
      attribute("text", &Label::text, &Label::setText_, {Text(), Text("Quercus"), Text("Ulmus")})};
  static const std::vector<Attribute> bed{
      attribute("name", &Bed::name, &Bed::setName, {Text(), Text("north"), Text("south")}),
      attribute("rank", &Bed::rank, &Bed::setRank, std::vector<std::int16_t>{0, 1, 2, -1})};
  static const std::vector<Attribute> tool{
      attribute("name", &Tool::name, &Tool::setName, {Text(), Text("rake"), Text("spade")})};
  switch (kind) {
    case Kind::plant:
      return plant;
    case Kind::label:
      return label;
    case Kind::bed:
      return bed;
    case Kind::tool:
      return tool;
  }
  return plant;
}

const char* entityName(Kind kind) {
  switch (kind) {
    case Kind::plant:
      return "Plant";
    case Kind::label:
      return "Label";
    case Kind::bed:
      return "Bed";
    case Kind::tool:
      return "Tool";
  }
  return "";
}

Record newRecord(Kind kind) {
  Record record;
  record.kind = kind;
  for (const Attribute& attribute : attributesOf(kind))
    record.values[attribute.name] = attribute.printed[0];
  for (const Link& link : linksOf(kind)) record.links[link.name] = 0;
  return record;
}

Ref<NSManagedObject> newObject(Kind kind, coredata::NSManagedObjectContext& context) {
  switch (kind) {
    case Kind::plant:
      return make<Plant>(context);
    case Kind::label:
      return make<Label>(context);
    case Kind::bed:
      return make<Bed>(context);
    case Kind::tool:
      return make<Tool>(context);
  }
  return nullptr;
}

Ref<NSManagedObject> linkTarget(const NSManagedObject& object, const std::string& link) {
  const std::string& entity = object.entity().name();
  if (entity == "Label") return static_cast<const Label&>(object).plant();
  if (entity == "Tool") return static_cast<const Tool&>(object).bed();
  const auto& plant = static_cast<const Plant&>(object);
  if (link == "label") return plant.label();
  return plant.bed();
}

void setLink(NSManagedObject& object, const std::string& link, const Ref<NSManagedObject>& target) {
  const std::string& entity = object.entity().name();
  if (entity == "Label") {
    static_cast<Label&>(object).setPlant(as<Plant>(target));
  } else if (entity == "Tool") {
    static_cast<Tool&>(object).setBed(as<Bed>(target));
  } else if (link == "label") {
    static_cast<Plant&>(object).setLabel(as<Label>(target));
  } else {
    static_cast<Plant&>(object).setBed(as<Bed>(target));
  }
}

}  // namespace graph
