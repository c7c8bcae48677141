uses a.


