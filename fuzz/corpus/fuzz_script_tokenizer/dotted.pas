uses a . b . c, d.;
function X.Y.Z(a): b;
uses e.
{c}f;