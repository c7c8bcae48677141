#include <cstdio>
#include "norvane/norvane.h"
using namespace norvane;

int main() {
  TDateTime due = StrtoDateFmt(u"31.12.99", u"");  // mask chosen from the text
  TStringParser list(u"1.5, 2.25, 3");
  double sum = 0;
  while (!list.Empty()) sum += list.ReadNum();
  TFastString out;
  out.Add(u"Due " + FormatDateTime(u"yyyy-mm-dd", due) + u", total ");
  out.Add(sum, 2, true);
  std::puts(out.GetAsString().ToUtf8().c_str());  // Due 1999-12-31, total 6.75
}
