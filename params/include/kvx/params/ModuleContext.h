#pragma once
// What the module's code shares module-wide: the XML document the host handed over, the two resource
// libraries and the material workflow switch. The application object fills it at start-up; a library that
// links this code without such an object keeps the defaults (no document, no libraries).
class KvxXMLDocument;

namespace kvx::platform {
class ResourceLibrary;
}

namespace kvx::params {

struct ModuleContext {
  bool applicationPresent = false;                                  // the application object has started
  KvxXMLDocument* xmlDocument = nullptr;                            // where rule XML nodes are created
  const kvx::platform::ResourceLibrary* localizedResources = nullptr;  // texts that are shown
  const kvx::platform::ResourceLibrary* defaultResources = nullptr;    // English texts, e.g. rule key names
  bool materialWorkflow = true;                                     // on for the module's whole life
};

// The module-wide context of the library this code is linked into.
ModuleContext& Module();

}  // namespace kvx::params
