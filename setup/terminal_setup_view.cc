#include "setup/terminal_setup_view.h"

#include <atomic>
#include <cctype>

namespace parlavox {
namespace {

std::atomic<bool> interrupted{false};

void NoteInterrupt(int) { interrupted = true; }

void Print(FILE* out, std::string_view text) {
  std::fwrite(text.data(), 1, text.size(), out);
  std::fflush(out);
}

}  // namespace

TerminalSetupView::TerminalSetupView(bool assume_yes, FILE* in, FILE* out)
    : assume_yes_(assume_yes), in_(in), out_(out) {
  interrupted = false;
  struct sigaction action {};
  action.sa_handler = NoteInterrupt;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, &previous_interrupt_);
}

TerminalSetupView::~TerminalSetupView() { sigaction(SIGINT, &previous_interrupt_, nullptr); }

void TerminalSetupView::SetTitle(std::string_view title) { Print(out_, std::string(title) + "\n"); }

void TerminalSetupView::SetStatus(std::string_view status) {
  Print(out_, "  " + std::string(status) + "\n");
}

void TerminalSetupView::SetProgress(int percent) {
  // Once every tenth part, so that a log stays short.
  if (percent / 10 <= shown_tenth_) return;
  shown_tenth_ = percent / 10;
  Print(out_, "  " + std::to_string(percent) + "%\n");
}

bool TerminalSetupView::Cancelled() { return interrupted; }

bool TerminalSetupView::AcceptTerms(std::string_view terms) {
  Print(out_, std::string(terms) + "\n");
  return AskYes("Do you accept these licence terms?");
}

bool TerminalSetupView::Confirm(std::string_view caption, std::string_view question) {
  Print(out_, std::string(caption) + "\n");
  return AskYes(question);
}

void TerminalSetupView::ShowError(std::string_view caption, std::string_view text) {
  Print(out_, std::string(caption) + ": " + std::string(text) + "\n");
}

bool TerminalSetupView::AskYes(std::string_view question) {
  if (assume_yes_) {
    Print(out_, std::string(question) + " yes (--yes)\n");
    return true;
  }
  Print(out_, std::string(question) + " [y/N] ");
  char line[64] = {};
  if (std::fgets(line, sizeof line, in_) == nullptr || interrupted) {
    Print(out_, "\n");
    return false;
  }
  return std::tolower(static_cast<unsigned char>(line[0])) == 'y';
}

}  // namespace parlavox
