a { open comment

