#pragma once
// What the module's code shares library-wide: the XML document the host handed over, the two resource
// libraries and the material workflow switch. Whoever owns a context (the application object, a library
// without one, a test) fills it and installs it with a ModuleContextScope; code below only reads it.
class KvxXMLDocument;

namespace kvx::platform {
class ResourceLibrary;
}

namespace kvx::params {

struct ModuleContext {
  bool applicationPresent = false;                                     // the application object has started
  KvxXMLDocument* xmlDocument = nullptr;                               // where rule XML nodes are created
  const kvx::platform::ResourceLibrary* localizedResources = nullptr;  // texts that are shown
  const kvx::platform::ResourceLibrary* defaultResources = nullptr;    // English texts, e.g. rule key names
  bool materialWorkflow = true;                                        // on for the module's whole life
};

// The context of the library this code is linked into: the one installed last, or an empty one (no
// document, no libraries) while none is.
const ModuleContext& Module();

// Installs `context` for the scope's life and restores the one before. The context must outlive the scope;
// its owner may change it meanwhile (the host hands over a new document at any time).
class ModuleContextScope {
 public:
  explicit ModuleContextScope(const ModuleContext& context);
  ~ModuleContextScope();
  ModuleContextScope(const ModuleContextScope&) = delete;
  ModuleContextScope& operator=(const ModuleContextScope&) = delete;

 private:
  const ModuleContext* previous_;
};

}  // namespace kvx::params
