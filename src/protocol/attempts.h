// Taking every step, whatever an earlier one threw.
#pragma once

#include <exception>

namespace qvx {

// Of one thread. Remembers the first exception.
class Attempts {
 public:
  template <class Step>
  void operator()(const Step& step) {
    try {
      step();
    } catch (...) {
      trouble_ = trouble_ ? trouble_ : std::current_exception();
    }
  }
  // Passes on what the first failed step threw.
  void end() const {
    if (trouble_) {
      std::rethrow_exception(trouble_);
    }
  }

 private:
  std::exception_ptr trouble_;
};

}  // namespace qvx
