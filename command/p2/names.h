// The names that p2 gives to namespaces, classifiers, touchpoints and properties.
#ifndef ECLIPSE_INT_P2_NAMES_H
#define ECLIPSE_INT_P2_NAMES_H

#include <string_view>

namespace eclipse_p2 {

/// The namespace of units by their ids.
inline constexpr const char* unit_name_space = "org.eclipse.equinox.p2.iu";

/// The namespace of bundles, and the classifier of their jars.
inline constexpr const char* bundle_name_space = "osgi.bundle";

/// The namespace of features, and the classifier of their jars.
inline constexpr const char* feature_name_space = "org.eclipse.update.feature";

/// That of bundles.
inline constexpr const char* osgi_touchpoint = "org.eclipse.equinox.p2.osgi";

/// Whether a namespace has units or bundles by their names. Names in others mean other things: a package often has the name of
/// a bundle, and any bundle may contain it.
inline bool is_of_units(std::string_view name_space) {
  return name_space == unit_name_space || name_space == bundle_name_space;
}

}  // namespace eclipse_p2

#endif
