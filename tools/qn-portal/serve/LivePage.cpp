#include "tools/qn-portal/serve/LivePage.h"

#include <algorithm>
#include <charconv>

namespace portal::serve {

namespace {

constexpr std::size_t kShown = 500;
constexpr std::size_t kLongestBody = 4000;
constexpr const char* kListPath = "/requests.json";

constexpr const char* kPage = R"html(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><title>Requests</title><link rel="icon" href="data:,">
<style>
:root { color-scheme: light dark; }
body { font: 15px/1.4 system-ui, sans-serif; margin: 1.5rem; }
table { border-collapse: collapse; width: 100%; }
body { background: #fff; color: #1a1a1a; }
@media (prefers-color-scheme: dark) { body { background: #15171a; color: #e6e6e6; } }
th, td { text-align: left; padding: .3rem .6rem; border-bottom: 1px solid #8884; vertical-align: top; }
pre { margin: 0; white-space: pre-wrap; overflow-wrap: anywhere; font-size: 13px; }
.bad { font-weight: bold; }
</style></head><body>
<h1>Requests</h1><p id="state" role="status">None yet.</p>
<table><thead><tr><th scope="col">Time</th><th scope="col">Request</th><th scope="col">Status</th>
<th scope="col">Headers and body</th></tr></thead><tbody id="list"></tbody></table>
<script>
let after = 0;
const list = document.getElementById("list"), state = document.getElementById("state");
function cell(row, text, element) {
  const inner = document.createElement(element || "span");
  inner.textContent = text;
  row.insertCell().append(inner);
  return inner;
}
async function look() {
  try {
    const answer = await (await fetch("requests.json?after=" + after)).json();
    for (const entry of answer.requests) {
      const row = list.insertRow(0);
      cell(row, new Date(entry.time * 1000).toLocaleTimeString());
      cell(row, entry.method + " " + entry.target);
      cell(row, entry.status).className = entry.status >= 400 ? "bad" : "";
      cell(row, entry.headers.map(h => h.join(": ")).join("\n") + (entry.body ? "\n\n" + entry.body : ""), "pre");
    }
    after = answer.count;
    state.textContent = after ? after + " so far." : "None yet.";
  } catch { state.textContent = "The portal does not answer."; }
  setTimeout(look, 500);
}
look();
</script></body></html>
)html";

std::string targetOf(const loopback::Request& request) {
    const std::size_t first = request.line.find(' ') + 1;
    return request.line.substr(first, request.line.find(' ', first) - first);
}

long numberAfter(const std::string& target) {
    const std::size_t at = target.find("after=");
    long number = 0;
    if (at != std::string::npos) {
        std::from_chars(target.data() + at + 6, target.data() + target.size(), number);
    }
    return number;
}

} // namespace

bool LivePage::isOwn(const std::string& target) {
    return target == "/" || target.starts_with(kListPath);
}

void LivePage::add(const RequestEntry& entry) {
    RequestEntry shown = entry;
    shown.body.resize(std::min(shown.body.size(), kLongestBody));
    const std::lock_guard lock(mutex_);
    lines_.push_back(recordLine(shown));
    ++count_;
    if (lines_.size() > kShown) {
        lines_.pop_front();
    }
}

std::string LivePage::listAfter(long number) const {
    const std::lock_guard lock(mutex_);
    const long first = count_ - static_cast<long>(lines_.size());
    std::string text = "{\"count\": " + std::to_string(count_) + ", \"requests\": [";
    for (long at = std::max(number, first); at < count_; ++at) {
        text += (text.ends_with('[') ? "" : ", ") + lines_[static_cast<std::size_t>(at - first)];
    }
    return text + "]}";
}

std::optional<loopback::Reply> LivePage::replyTo(const loopback::Request& request) const {
    const std::string target = targetOf(request);
    if (target == "/") {
        return loopback::replyWith(kPage, "text/html; charset=utf-8");
    }
    if (target.starts_with(kListPath)) {
        return loopback::replyWith(listAfter(numberAfter(target)), "application/json");
    }
    return std::nullopt;
}

} // namespace portal::serve
