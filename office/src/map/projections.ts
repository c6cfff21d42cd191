// The projections of surveys. proj4's own list also has those of atlases and satellites: see vite.config.ts.
import aea from 'proj4/lib/projections/aea';
import cass from 'proj4/lib/projections/cass';
import cea from 'proj4/lib/projections/cea';
import eqc from 'proj4/lib/projections/eqc';
import eqdc from 'proj4/lib/projections/eqdc';
import etmerc from 'proj4/lib/projections/etmerc';
import krovak from 'proj4/lib/projections/krovak';
import laea from 'proj4/lib/projections/laea';
import lcc from 'proj4/lib/projections/lcc';
import nzmg from 'proj4/lib/projections/nzmg';
import omerc from 'proj4/lib/projections/omerc';
import poly from 'proj4/lib/projections/poly';
import somerc from 'proj4/lib/projections/somerc';
import stere from 'proj4/lib/projections/stere';
import sterea from 'proj4/lib/projections/sterea';
import tmerc from 'proj4/lib/projections/tmerc';
import utm from 'proj4/lib/projections/utm';

export default function addProjections(proj4: {Proj: {projections: {add: (projection: object) => void}}}): void {
  const all = [aea, cass, cea, eqc, eqdc, etmerc, krovak, laea, lcc, nzmg, omerc, poly, somerc, stere, sterea, tmerc, utm];
  for (const each of all) proj4.Proj.projections.add(each);
}
