// How the program ends, in the numbers that Unix programs agree on (sysexits).
#pragma once

enum class ExitCode {
  Fine = 0,
  WrongUsage = 64,
  NotADatabase = 65,
  StatementFailed = 65,  // or was refused: bad data, too, which the service wrote
  NoInput = 66,
  ServiceFailed = 69,
  Internal = 70,
  OutputFailed = 74,
  KeyRefused = 77
};
