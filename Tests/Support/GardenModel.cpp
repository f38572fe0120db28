#include "Tests/Support/GardenModel.h"

#include "CoreData/Model/ModelBuilder.h"

namespace garden {

foundation::Ref<coredata::NSManagedObjectModel> model() {
  return coredata::modelFromSource(R"({
    "identifiers": ["Garden 1"],
    "entities": {
      "Plant": {
        "class": "Plant",
        "attributes": {
          "name": "text",
          "height": "scalar double",
          "leaves": {"type": "scalar integer16", "default": 2},
          "seeds": "scalar integer32",
          "cells": "scalar integer64",
          "evergreen": "scalar boolean",
          "planted": "date",
          "photo": "binary",
          "code": "uuid",
          "latitude": "double"
        },
        "relationships": {
          "bed": {"toOne": "Bed", "inverse": "plants"},
          "label": {"toOne": "Label", "inverse": "plant", "deleteRule": "cascade"}
        },
        "indexes": {"byBedAndName": ["bed", "name"]}
      },
      "Label": {
        "class": "Label",
        "attributes": {"text": "text"},
        "relationships": {"plant": {"toOne": "Plant", "inverse": "label"}}
      },
      "Bed": {
        "class": "Bed",
        "attributes": {"name": "text", "rank": "scalar integer16"},
        "relationships": {
          "plants": {"toMany": "Plant", "inverse": "bed", "deleteRule": "cascade"},
          "tools": {"toMany": "Tool", "inverse": "bed"}
        }
      },
      "Tool": {
        "class": "Tool",
        "attributes": {"name": "required text"},
        "relationships": {
          "bed": {"toOne": "Bed", "inverse": "tools"},
          "handles": {"toMany": "Handle", "inverse": "tool", "deleteRule": "deny"}
        },
        "indexes": {"byBed": ["bed"]}
      },
      "Handle": {
        "class": "Handle",
        "relationships": {"tool": {"toOne": "Tool", "inverse": "handles"}},
        "indexes": {"byTool": ["tool"]}
      }
    }
  })");
}

}  // namespace garden
