#include <QARN/QARNGeometry.h>

#include <cstdio>

int main() {
  try {
    throw QARN::Exception("consumer ok");
  } catch (std::exception const& e) {
    std::puts(e.what());
  }
  return 0;
}
