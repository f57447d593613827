// How statements are run, and how their rows are shown.
#pragma once

/// What becomes of a statement that only reads, when an answer brings it.
enum class RunMode { Auto, Ask, Never };

enum class RowFormat { Table, CSV, JSON };
