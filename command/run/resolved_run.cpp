#include "run/resolved_run.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "base/json_text.h"
#include "p2/instance_error.h"
#include "plan/make_plan.h"
#include "report/resolution_json.h"
#include "report/resolution_text.h"
#include "run/asked_resolution.h"

using namespace eclipse_host;
using namespace eclipse_report;
using eclipse_plan::Plan;
using eclipse_resolve::Resolution;

namespace eclipse_run {

namespace {

std::string refusal_when_unresolved(const Resolution& resolution) {
  if (!resolution.all) return "the director was not asked: " + resolution.not_asked;
  if (!resolution.fails()) return "";
  return std::string("the director would not ") + (resolution.is_removal ? "remove" : "install") + " all features";
}

}  // namespace

ResolvedRun::ResolvedRun(RunFunction run, ReportAdditions additions) : run_(std::move(run)), additions_(std::move(additions)) {}

RunFunction ResolvedRun::function() {
  return [this](const Plugin& plugin, Session& session, RunRecord& record, const RunObservers& observers) {
    run(plugin, session, record, observers);
  };
}

ReportAdditions ResolvedRun::additions() const {
  ReportAdditions additions = additions_;
  additions.text = [this] { return text(); };
  additions.add_to = [this](eclipse_base::Json& json) { add_to(json); };
  return additions;
}

void ResolvedRun::run(const Plugin& plugin, Session& session, RunRecord& record, const RunObservers& observers) {
  const Plan plan = eclipse_plan::make_plan(plugin, session, eclipse_plan::Retries::distinct);
  const std::string refusal = plan.command ? refusal_after_asking(plan) : "";
  was_run_ = refusal.empty();
  if (was_run_) return run_(plugin, session, record, observers);
  record.variables_before = session.variables;
  record.refusal = refusal;
}

std::string ResolvedRun::refusal_after_asking(const Plan& plan) try {
  resolution_ = asked_resolution(plan);
  return refusal_when_unresolved(*resolution_);
} catch (const eclipse_p2::InstanceError& error) {
  return error.what();
}

std::string ResolvedRun::text() const {
  if (was_run_) return additions_.text();
  return resolution_ && resolution_->fails() ? "\nResolution:\n" + resolution_text(*resolution_) : "";
}

void ResolvedRun::add_to(eclipse_base::Json& json) const {
  if (resolution_) json["resolution"] = resolution_json(*resolution_);
  if (was_run_) additions_.add_to(json);
}

}  // namespace eclipse_run
