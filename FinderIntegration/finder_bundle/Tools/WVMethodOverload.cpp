#include "FinderIntegration/finder_bundle/Tools/WVMethodOverload.h"

namespace wevora {

bool WVMethodOverload::overloadSelector(std::string_view selector, platform::Class* forClass,
                                        std::string_view withNewSelector,
                                        const platform::Class* ofClass,
                                        std::string_view withParams) {
  if (forClass == nullptr) return false;
  const auto source = ofClass == nullptr ? nullptr : ofClass->instanceMethod(withNewSelector);
  const bool added =
      source && forClass->addMethod(withNewSelector, source->implementation, withParams);
  forClass->exchangeImplementations(selector, withNewSelector);
  return added;
}

}  // namespace wevora
