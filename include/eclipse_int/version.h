// The version of these headers, which is that of the whole project. docs/versions.md says what may change in which release.
//
// The plug-in has its version in the ELF note ".note.eclipse_int", which needs no export: "readelf -p .note.eclipse_int FILE"
// and "eclipse-int --version --plugin FILE" print it.
#ifndef ECLIPSE_INT_VERSION_H
#define ECLIPSE_INT_VERSION_H

// The build takes the version of the project from these three lines.
#define ECLIPSE_INT_VERSION_MAJOR 1
#define ECLIPSE_INT_VERSION_MINOR 0
#define ECLIPSE_INT_VERSION_PATCH 0

/// A number that grows with each version, to compare: #if ECLIPSE_INT_VERSION_NUMBER >= ECLIPSE_INT_MAKE_VERSION(1, 2, 0)
#define ECLIPSE_INT_MAKE_VERSION(major, minor, patch) ((major)*1000000 + (minor)*1000 + (patch))
#define ECLIPSE_INT_VERSION_NUMBER \
  ECLIPSE_INT_MAKE_VERSION(ECLIPSE_INT_VERSION_MAJOR, ECLIPSE_INT_VERSION_MINOR, ECLIPSE_INT_VERSION_PATCH)

/// The version as a text literal, "MAJOR.MINOR.PATCH".
#define ECLIPSE_INT_VERSION                   \
  ECLIPSE_INT_TEXT(ECLIPSE_INT_VERSION_MAJOR) \
  "." ECLIPSE_INT_TEXT(ECLIPSE_INT_VERSION_MINOR) "." ECLIPSE_INT_TEXT(ECLIPSE_INT_VERSION_PATCH)
#define ECLIPSE_INT_TEXT(value) ECLIPSE_INT_TEXT_OF(value)
#define ECLIPSE_INT_TEXT_OF(value) #value

#endif
