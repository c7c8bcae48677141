begin
  (((]]]))) [[[ end end end ;;; ) ] ) ]