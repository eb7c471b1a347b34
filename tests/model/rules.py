"""What the tests of check-host know of its rules."""

# Those that a sound host without a case service leaves unchecked.
NOT_CHECKED_WITHOUT_CASES = {"case.words", "case.any", "case.charset", "charset.length", "charset.letters", "threads"}
