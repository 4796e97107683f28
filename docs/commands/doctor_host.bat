.\qvjvm-doctor --host qv190.exe --start
