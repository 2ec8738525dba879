#pragma once

#include "tests/forecast/Curves.h"

// What the forecast would have said of drives whose end is known.
struct Score {
  int drives = 0;          // that pass the threshold within the five years
  int without = 0;         // no date was given
  int covered = 0;         // the date was in the interval
  double error = 0;        // of the median drive, in days
  double errorOfLine = 0;  // of the line through the first and the last point
};

// So many days before each of `drives` drives of the class passes 95 %.
Score backTest(Curve curve, int drives, int daysBefore);
