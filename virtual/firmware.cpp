#include "virtual/firmware.h"

#include <stdexcept>
#include <string>

namespace qvx::bench {
namespace {

Bytes replyPayload(const Request& request, ReplyForm form, int status, const Bytes& data) {
  Bytes out;
  if (form == ReplyForm::EchoStatus) {
    out.push_back(request.payload.empty() ? 0 : request.payload[0]);
  }
  if (form != ReplyForm::Data) {
    out.push_back(static_cast<std::uint8_t>(status));
  }
  out.insert(out.end(), data.begin(), data.end());
  return out;
}

}  // namespace

void CommandTable::insert(int code, Entry entry) {
  if (!entries_.emplace(code, std::move(entry)).second) {
    throw std::logic_error("command " + std::to_string(code) + " is in the table twice");
  }
}

void CommandTable::handle(const Request& request, std::optional<int> forced_status) const {
  const auto found = entries_.find(request.code);
  const bool well_formed = found != entries_.end() && request.payload.size() >= found->second.min &&
                           request.payload.size() <= found->second.max;
  const ReplyForm form = found != entries_.end() ? found->second.form : ReplyForm::Data;
  if (!well_formed && form == ReplyForm::Data) {
    request.outlet.send(request.code, Bytes{status::kParser, status::kParser}, request.now);
    return;
  }
  if (form != ReplyForm::Data && forced_status.value_or(status::kOk) != status::kOk) {
    request.outlet.send(request.code, replyPayload(request, form, *forced_status, {}), request.now);
    return;
  }
  const Answer answer = well_formed ? found->second.run(request) : Answer(status::kParser);
  const int status = forced_status.value_or(answer.status);
  if (!answer.silent) {
    request.outlet.sendAfter(answer.takes, request.code, replyPayload(request, form, status, answer.data), request.now);
  }
}

}  // namespace qvx::bench
