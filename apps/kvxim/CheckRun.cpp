// The check command's work: the part checker applied to the rule set. Built as a library of its own,
// because the checker brings Open CASCADE's libraries, which no other command should load.
#include <array>
#include <cmath>
#include <iostream>
#include <sstream>
#include <vector>

#include "CheckCommand.h"
#include "ModuleHost.h"
#include "kvx/checker/Check.h"
#include "kvx/checker/Output.h"
#include "kvx/framework/KvxRule.h"
#include "kvx/platform/FileSystem.h"
#include "kvx/platform/Resources.h"
#include "kvx/platform/Text.h"

namespace kvxim {

namespace {
using kvx::platform::Narrow;
using kvx::platform::Widen;

// What the checker reads of each rule.
std::vector<kvx::checker::RuleInput> Describe(const HeldRules& held) {
  std::vector<kvx::checker::RuleInput> inputs;
  for (const CKvxRule* rule : held.All()) inputs.push_back(kvx::checker::DescribeRule(*rule));
  return inputs;
}

// The factory rules, or those of the rule-set file; false after a line to `err` when the file cannot be used.
bool CollectRules(ModuleHost& host, const std::string& file, HeldRules& held, std::ostream& err) {
  if (file.empty()) {
    held.AddFresh();
    return true;
  }
  auto root = LoadRuleSet(host, file, err);
  if (!root) return false;
  const auto nodes = root->GetNodeList(L"Rule");
  for (int i = 0; i < nodes->GetSize(); ++i) held.AddFor(nodes->GetItem(i).get());
  return true;
}

int WorstSeverity(const kvx::checker::CheckReport& report) {
  int worst = -1;
  for (const auto& finding : report.findings) worst = std::max(worst, finding.severity);
  return worst;
}
}  // namespace

bool ParsePull(const std::string& text, std::optional<std::array<double, 3>>& pull) {
  if (text == "auto") {
    pull.reset();
    return true;
  }
  std::array<double, 3> v{};
  std::istringstream in(text);
  char comma1 = 0, comma2 = 0;
  if (!(in >> v[0] >> comma1 >> v[1] >> comma2 >> v[2]) || comma1 != ',' || comma2 != ',') return false;
  in >> std::ws;
  if (!in.eof()) return false;
  const double length = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  if (!std::isfinite(length) || length == 0) return false;
  pull = std::array<double, 3>{v[0] / length, v[1] / length, v[2] / length};
  return true;
}

}  // namespace kvxim

// The check command's work, loaded by kvxim only when it runs the command.
extern "C" __attribute__((visibility("default"))) int KvximRunCheck(kvxim::ModuleHost& host,
                                                                    const kvxim::CheckCommandOptions& options,
                                                                    const kvx::platform::ResourceLibrary* library,
                                                                    std::ostream& out, std::ostream& err) {
  using namespace kvxim;
  if (options.part.empty()) {
    err << "kvxim: check needs a part file (kvxim check PART.step)\n";
    return kCheckUsage;
  }
  std::optional<std::array<double, 3>> pull;
  if (!ParsePull(options.pull, pull)) {
    err << "kvxim: --pull takes X,Y,Z (not all zero) or auto, not \"" << options.pull << "\"\n";
    return kCheckUsage;
  }
  const int threshold = kvx::checker::SeverityFromName(options.failOn);
  if (threshold < 0) {
    err << "kvxim: --fail-on takes very-low, low, medium, high or very-high, not \"" << options.failOn << "\"\n";
    return kCheckUsage;
  }
  if (!(options.budgetSeconds > 0)) {
    err << "kvxim: --budget takes a positive number of seconds\n";
    return kCheckUsage;
  }

  HeldRules held(host);
  if (!CollectRules(host, options.rules, held, err)) return kCheckUnreadable;
  const auto rules = Describe(held);

  kvx::checker::CheckOptions checkOptions;
  if (pull) checkOptions.pull = kvx::checker::Vec3{(*pull)[0], (*pull)[1], (*pull)[2]};
  checkOptions.material = options.material;
  const auto allowance = std::chrono::milliseconds(static_cast<long long>(options.budgetSeconds * 1000));
  const auto result = kvx::checker::CheckStepFile(options.part, rules, checkOptions, allowance);
  if (!result.read.ok) {
    err << "kvxim: " << result.read.error << "\n";
    return kCheckUnreadable;
  }
  const auto texts = kvx::checker::ReportTexts::From(library);
  if (options.json)
    out << kvx::checker::ReportToJson(result.read.part, result.report).dump(2) << "\n";
  else
    kvx::checker::WriteTextReport(result.read.part, result.report, texts, out);
  if (!options.report.empty()) {
    // Written like a rule set: whole or not at all, through a link, with the system's reason on failure.
    const kvx::platform::WriteResult written = kvx::platform::WriteFileAtomically(
        kvx::platform::Widen(options.report), kvx::checker::HtmlReport(result.read.part, result.report, rules, texts));
    if (!written) {
      err << "kvxim: " << kvx::platform::Narrow(written.description) << "\n";
      return kCheckUnreadable;
    }
  }
  return WorstSeverity(result.report) >= threshold ? kCheckFindings : kCheckClean;
}
