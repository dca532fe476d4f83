#pragma once
// Test support: the module-wide context a rule sees inside the loaded module (resource libraries, the XML
// document, the material workflow switch), set up without loading the module, plus a recorder for
// message boxes. Header-only so every test area can use it.
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "MessageRecorder.h"
#include "kvx/framework/KvxTypes.h"
#include "kvx/framework/KvxXML.h"
#include "kvx/params/ModuleContext.h"
#include "kvx/platform/DynamicLibrary.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"

namespace kvx::test {

// Path of a resource library built into this build tree ("english", "german").
inline std::wstring ResourceLibraryPath(const std::string& language) {
  return kvx::platform::Widen(std::string(KVX_BIN_DIR) + "/res/" + language + "/") +
         kvx::platform::LibraryFileName(L"KVXIMRulesResu");
}

// Builds the module context a rule sees inside the loaded module and installs it for the test: the English
// resource library (as both libraries, or `localized` as the shown one), a fresh XML document with a
// "RuleSet" root, and the workflow switch. A test changes `context_` itself.
class ModuleFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    english_ = kvx::platform::ResourceLibrary::Load(ResourceLibraryPath("english"));
    ASSERT_TRUE(english_) << "the English resource library is not built";
    document_ = std::make_unique<KvxXMLDocument>();
    root_ = document_->CreateRootNode(L"RuleSet");
    context_ = {.applicationPresent = true,
                .xmlDocument = document_.get(),
                .localizedResources = english_.get(),
                .defaultResources = english_.get(),
                .materialWorkflow = true};
    scope_.emplace(context_);
  }
  void TearDown() override { scope_.reset(); }

  // Shows texts from `language` while key names stay English.
  void UseLocalizedLanguage(const std::string& language) {
    localized_ = kvx::platform::ResourceLibrary::Load(ResourceLibraryPath(language));
    ASSERT_TRUE(localized_);
    context_.localizedResources = localized_.get();
  }
  // An English string, as the rules load it.
  std::wstring En(int id) const { return english_->String(id).value_or(L""); }
  void SetMaterialWorkflow(bool on) { context_.materialWorkflow = on; }

  // Parses `xml` into the fixture's document (replacing it) and returns its first "Rule" element.
  std::unique_ptr<KvxXMLNode> LoadRule(const std::string& xml) {
    std::wstring error;
    EXPECT_TRUE(document_->LoadText(xml, error)) << kvx::platform::Narrow(error);
    root_ = document_->GetRootNode();
    if (!root_) return nullptr;
    if (root_->GetNodeName() == L"Rule") return document_->GetRootNode();
    return root_->SelectSingleNode(L"Rule");
  }
  // Puts `rule` (a node created in the document) under the root and returns the document's text.
  std::string Place(std::unique_ptr<KvxXMLNode> rule) {
    root_ = document_->GetRootNode();
    root_->AppendNode(rule.get());
    return document_->ToText();
  }

  MessageRecorder messages_;
  std::unique_ptr<kvx::platform::ResourceLibrary> english_;
  std::unique_ptr<kvx::platform::ResourceLibrary> localized_;
  std::unique_ptr<KvxXMLDocument> document_;
  std::unique_ptr<KvxXMLNode> root_;
  kvx::params::ModuleContext context_;

 private:
  std::optional<kvx::params::ModuleContextScope> scope_;
};

}  // namespace kvx::test
