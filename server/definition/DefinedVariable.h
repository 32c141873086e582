#pragma once

#include "server/definition/Definition.h"
#include "server/plant/PlantController.h"

/// The variable that a definition names; null when it names none. Throws ServerError that names the element.
SourceVariableRef BindDefined(const Definition& definition, const PlantController& controller);
