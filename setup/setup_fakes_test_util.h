#ifndef PARLAVOX_SETUP_SETUP_FAKES_TEST_UTIL_H_
#define PARLAVOX_SETUP_SETUP_FAKES_TEST_UTIL_H_

#include <string>
#include <vector>

#include "setup/launcher.h"
#include "setup/setup_view.h"

namespace parlavox {

// A person who answers as told and a view that remembers what it showed.
class FakeSetupView : public SetupView {
 public:
  void SetTitle(std::string_view title) override { shown.push_back("title " + std::string(title)); }
  void SetStatus(std::string_view status) override {
    shown.push_back("status " + std::string(status));
  }
  void SetProgress(int percent) override { progress = percent; }
  bool Cancelled() override { return ++looks > cancel_after_looks && cancel_after_looks >= 0; }
  bool AcceptTerms(std::string_view terms) override {
    this->terms = terms;
    return accept_terms;
  }
  bool Confirm(std::string_view, std::string_view question) override {
    shown.push_back("question " + std::string(question));
    return confirm;
  }
  void ShowError(std::string_view caption, std::string_view text) override {
    shown.push_back("error " + std::string(caption) + ": " + std::string(text));
  }

  bool accept_terms = true;
  bool confirm = true;
  int cancel_after_looks = -1;  // never
  int looks = 0;
  int progress = 0;
  std::string terms;
  std::vector<std::string> shown;
};

// Remembers the programs it was asked to run instead of running them.
class FakeLauncher : public Launcher {
 public:
  bool Start(const std::string& program, const std::vector<std::string>& arguments) override {
    started.push_back(Line(program, arguments));
    return true;
  }
  void Replace(const std::string& program, const std::vector<std::string>& arguments) override {
    replaced_with.push_back(Line(program, arguments));
  }

  std::vector<std::string> started;
  std::vector<std::string> replaced_with;

 private:
  static std::string Line(const std::string& program, const std::vector<std::string>& arguments) {
    std::string line = program;
    for (const std::string& argument : arguments) line += " " + argument;
    return line;
  }
};

}  // namespace parlavox

#endif  // PARLAVOX_SETUP_SETUP_FAKES_TEST_UTIL_H_
