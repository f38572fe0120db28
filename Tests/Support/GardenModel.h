#pragma once

#include "CoreData/Model/NSManagedObjectModel.h"
#include "CoreData/Object/ManagedObjectProperties.h"

namespace garden {

class Bed;
class Handle;
class Label;
class Tool;

/// A small schema with every kind of property and delete rule, for tests of the engine.
class Plant final : public coredata::NSManagedObject {
  CD_ENTITY(Plant, "Plant")
  CD_TEXT(name, setName)
  CD_DOUBLE(height, setHeight)
  CD_INTEGER16(leaves, setLeaves)
  CD_INTEGER32(seeds, setSeeds)
  CD_INTEGER64(cells, setCells)
  CD_BOOLEAN(evergreen, setEvergreen)
  CD_DATE(planted, setPlanted)
  CD_DATA(photo, setPhoto)
  CD_UUID(code, setCode)
  CD_NUMBER(latitude, setLatitude)
  CD_TO_ONE(Bed, bed, setBed)
  CD_TO_ONE(Label, label, setLabel)
};

class Label final : public coredata::NSManagedObject {
  CD_ENTITY(Label, "Label")
  CD_TEXT(text, setText_)
  CD_TO_ONE(Plant, plant, setPlant)
};

class Bed final : public coredata::NSManagedObject {
  CD_ENTITY(Bed, "Bed")
  CD_TEXT(name, setName)
  CD_INTEGER16(rank, setRank)
  CD_TO_MANY(Plant, plants, setPlants, addPlantsObject, removePlantsObject)
  CD_TO_MANY(Tool, tools, setTools, addToolsObject, removeToolsObject)
};

/// Its name is mandatory, and a bed forgets its tools.
class Tool final : public coredata::NSManagedObject {
  CD_ENTITY(Tool, "Tool")
  CD_TEXT(name, setName)
  CD_TO_ONE(Bed, bed, setBed)
  CD_TO_MANY(Handle, handles, setHandles, addHandlesObject, removeHandlesObject)
};

/// Keeps its tool from being deleted.
class Handle final : public coredata::NSManagedObject {
  CD_ENTITY(Handle, "Handle")
  CD_TO_ONE(Tool, tool, setTool)
};

/// A new model of the schema.
[[nodiscard]] foundation::Ref<coredata::NSManagedObjectModel> model();

}  // namespace garden
