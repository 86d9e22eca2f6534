// the console
