// The classes that this library registers. The frame only walks the list; the containers fill it.
#ifndef VORNIK_FRAME_CLASS_LIST_H
#define VORNIK_FRAME_CLASS_LIST_H

#include <span>

#include "plugin/frame/host_interface.h"

namespace vornik {

/// Every class definition, in the order of registration.
std::span<REALclassDefinition* const> classDefinitions();

}  // namespace vornik

#endif  // VORNIK_FRAME_CLASS_LIST_H
