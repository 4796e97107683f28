.\qvjvm-doctor --start
