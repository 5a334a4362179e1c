#include "devhost/kaehost/apply/session_namespace.h"

#include <utility>

namespace devhost {

SessionNamespace::SessionNamespace(const ApplyOptions& options, Entered entered,
                                   const Tunables& machine, NamespaceResult& result)
    : machine_(machine),
      before_(std::move(entered.before)),
      result_(result),
      journal_(options, result.where, entered.emulated, before_),
      written_(before_) {
  result_.emulated = std::move(entered.emulated);
  result_.not_copied = std::move(entered.not_copied);
}

void SessionNamespace::AddRequest(const std::string& name, const Asked& asked, LayerReply reply) {
  const CatalogueValues start = CatalogueValuesOf(before_, machine_);
  const CatalogueValues before = CatalogueValuesOf(written_, machine_);
  written_ = ReadTunables();
  RequestResult& request = result_.requests.emplace_back();
  request.document = name;
  request.reply = std::move(reply);
  request.outcomes = OutcomesOf(asked, start, before, CatalogueValuesOf(written_, machine_),
                                request.reply.reply == Reply::kSuccess);
}

std::optional<std::string> SessionNamespace::EndJournal() {
  std::optional<std::string> sentence = journal_.End();
  if (sentence) {
    result_.journal_kept = journal_.path();
  }
  return sentence;
}

}  // namespace devhost
