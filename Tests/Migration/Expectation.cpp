#include "Tests/Migration/Expectation.h"

#include <algorithm>

namespace images {

using coredata::NSAttributeDescription;
using coredata::NSEntityDescription;
using coredata::NSManagedObjectModel;
using coredata::NSPropertyDescription;
using coredata::ObjectKey;
using foundation::Date;
using foundation::Value;

namespace {

template <typename Description>
std::string formerName(const Description& description) {
  const std::string& renamed = description.renamingIdentifier();
  return renamed.empty() ? description.name() : renamed;
}

Value expectedValue(const NSAttributeDescription& attribute, const ObjectImage& old) {
  const auto former = old.attributes.find(formerName(attribute));
  if (former == old.attributes.end()) return attribute.defaultValue();
  const bool mustBeThere = !attribute.isOptional();
  return former->second.isNone() && mustBeThere ? attribute.defaultValue() : former->second;
}

std::vector<ObjectKey> expectedLink(const NSPropertyDescription& relationship,
                                    const ObjectImage& old) {
  const auto former = old.links.find(formerName(relationship));
  return former == old.links.end() ? std::vector<ObjectKey>() : former->second;
}

ObjectImage expectedObject(const NSEntityDescription& entity, const ObjectImage& old) {
  ObjectImage image;
  for (const auto& [name, property] : entity.propertiesByName()) {
    if (const auto* attribute = entity.attribute(name)) {
      image.attributes[name] = expectedValue(*attribute, old);
    } else {
      image.links[name] = expectedLink(*property, old);
    }
  }
  return image;
}

void fillGap(ObjectImage& object, const std::string& attribute, const Value& filling) {
  Value& value = object.attributes.at(attribute);
  if (value.isNone()) value = filling;
}

void fillGaps(StoreImage& image) {
  const Value past = Date::distantPast();
  for (auto& [key, activity] : image.at("Activity")) fillGap(activity, "title", "");
  for (auto& [key, group] : image.at("Group")) {
    fillGap(group, "title", "");
    fillGap(group, "createdDate", past);
  }
  for (const char* const entity : {"Activity", "MonthlyReview", "Photo"}) {
    for (auto& [key, object] : image.at(entity)) {
      fillGap(object, "createdDate", past);
      fillGap(object, "modifiedDate", past);
    }
  }
}

void addWidgetGroup(StoreImage& image, const StoreImage& old, Date now) {
  constexpr ObjectKey kGroup = 1;
  ObjectImage& group = image.at("ActivityWidgetGroup")[kGroup];
  group.attributes = {
      {"createdDate", now}, {"modifiedDate", now}, {"name", "Main"}, {"order", 0}, {"type", 1}};
  group.links["items"] = {};
  EntityImage& items = image.at("ActivityWidgetItem");
  for (const auto& [widgetKey, widget] : old.at("Widget")) {
    const std::vector<ObjectKey>& activity = widget.links.at("activity");
    if (activity.empty()) continue;
    if (old.at("Activity").at(activity.front()).attributes.at("status") != Value(0)) continue;
    const auto key = static_cast<ObjectKey>(items.size()) + 1;
    items[key] = {.attributes = {{"order", widget.attributes.at("priority")}},
                  .links = {{"activity", activity}, {"group", {kGroup}}}};
    group.links["items"].push_back(key);
    image.at("Activity").at(activity.front()).links["widgets"].push_back(key);
  }
}

}  // namespace

StoreImage expectedIn(const NSManagedObjectModel& next, const StoreImage& old) {
  StoreImage image;
  for (const NSEntityDescription* entity : next.entities()) {
    EntityImage& objects = image[entity->name()];
    const auto former = old.find(formerName(*entity));
    if (former == old.end()) continue;
    for (const auto& [key, object] : former->second) objects[key] = expectedObject(*entity, object);
  }
  return image;
}

void expectVersion7(StoreImage& image, const StoreImage& old,
                    const std::function<foundation::Data(const std::string&)>& photoFile,
                    Date now) {
  fillGaps(image);
  for (auto& [key, photo] : image.at("Photo")) {
    const std::string& name = *old.at("Photo").at(key).attributes.at("filename").text();
    photo.attributes["data"] = photoFile(name);
  }
  addWidgetGroup(image, old, now);
}

}  // namespace images
