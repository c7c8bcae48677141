x := 'never closed

end