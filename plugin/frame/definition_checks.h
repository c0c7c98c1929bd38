// Checks every class definition and adjusts it to the running host before it is registered.
//
// The checks guard against errors in the tables. They only write log lines, whatever DebuggingEnabled says; a
// definition with errors is still adjusted and registered.
#ifndef VORNIK_FRAME_DEFINITION_CHECKS_H
#define VORNIK_FRAME_DEFINITION_CHECKS_H

#include <cstdint>

#include "plugin/frame/host_interface.h"

namespace vornik {

/// Checks the definition, adjusts its flags, data size and version in place, and registers it. Refused, with
/// a log line, only while gpartname is null.
void MyREALRegisterClass(REALclassDefinition& definition);

/// Logs what is wrong in a table of methods or properties.
void CheckMethods(const char* className, const REALmethodDefinition* methods, std::uint64_t count);
void CheckProperties(const char* className, const REALproperty* properties, std::uint64_t count);

/// Rewrites the flag words of a table for the running host's version. The class name is for messages, of
/// which there are none.
void FixFlags(REALmethodDefinition* methods, std::uint64_t count, const char* className);
void FixFlags(REALproperty* properties, std::uint64_t count, const char* className);

}  // namespace vornik

#endif  // VORNIK_FRAME_DEFINITION_CHECKS_H
