// SPDX-License-Identifier: Apache-2.0
// The status channel: a last report per thread, and one handler for all threads.

#include <atomic>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "vlix/object.h"

namespace {

thread_local VlixOpReport t_last = {};

struct Handler {
  VlixOpHandler function = nullptr;
  void* user = nullptr;
};

// The flag keeps the lock out of the way of programs without a handler.
std::atomic<bool> g_has_handler = false;
std::mutex g_handler_mutex;
Handler g_handler;

Handler current_handler() {
  if (!g_has_handler.load(std::memory_order_acquire)) return {};
  const std::lock_guard lock(g_handler_mutex);
  return g_handler;
}

int32_t code_of(int32_t kind) {
  switch (kind) {
    case VlixStatusKind_OutOfMemory: return VLIX_STATUS_OUT_OF_MEMORY;
    case VlixStatusKind_UnsupportedType: return VLIX_STATUS_UNSUPPORTED_TYPE;
    case VlixStatusKind_Message: return VLIX_STATUS_MESSAGE;
    default: return VLIX_STATUS_UNKNOWN_KIND;
  }
}

void format_text(char (&out)[VLIX_REPORT_TEXT_SIZE], int32_t kind, const char* text, va_list arguments) {
  switch (kind) {
    case VlixStatusKind_OutOfMemory:
      std::snprintf(out, sizeof(out), "%s: out of memory (%" PRId64 " bytes)", text, va_arg(arguments, int64_t));
      break;
    case VlixStatusKind_UnsupportedType:
      std::snprintf(out, sizeof(out), "%s: unsupported type %s", text, va_arg(arguments, const char*));
      break;
    case VlixStatusKind_Message: std::vsnprintf(out, sizeof(out), text, arguments); break;
    default: std::snprintf(out, sizeof(out), "%s", text); break;
  }
  for (std::size_t length = std::strlen(out); length > 0 && out[length - 1] == '\n'; --length) out[length - 1] = '\0';
}

}  // namespace

int32_t VlixOpStatus(int32_t /*level*/, int32_t kind, const char* text, ...) {
  // A handler may report something itself: the report it is given must not change under it.
  VlixOpReport report = {};
  report.kind = kind;
  report.status = code_of(kind);
  report.count = t_last.count + 1;
  va_list arguments;
  va_start(arguments, text);
  format_text(report.text, kind, text == nullptr ? "" : text, arguments);
  va_end(arguments);
  t_last = report;

  const Handler handler = current_handler();
  if (handler.function != nullptr) handler.function(&report, handler.user);
  return report.status;
}

void VlixOpLastReport(VlixOpReport* report) {
  if (report != nullptr) *report = t_last;
}

void VlixOpClear() { t_last = {}; }

void VlixOpSetHandler(VlixOpHandler handler, void* user) {
  const std::lock_guard lock(g_handler_mutex);
  g_handler = {handler, user};
  g_has_handler.store(handler != nullptr, std::memory_order_release);
}
