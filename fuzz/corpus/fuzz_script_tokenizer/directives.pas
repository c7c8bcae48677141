{$R+}{$I inc.pas} // comment
(* multi
line *) { a
 b }