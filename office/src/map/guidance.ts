// The guidance lines of a field.
import type {GuidancePattern, PartfieldAttributes} from 'isoxml';
import {pointsOf, type Parts, type Point} from './geometry';
import {metresOfDegree} from './model';

/** Metres to both sides of the point of a line that has only a point and a heading. */
const shownHalf = 200;

export function guidanceOf({GuidanceGroup: groups = [], LineString: lines = []}: PartfieldAttributes):
    {name: string; lines: Parts[]}[] {
  const loose = lines.filter(({attributes}) => String(attributes.LineStringType) === '5')
    .map((line): Parts => [pointsOf(line)]);
  return [{name: '', lines: loose}, ...groups.flatMap((group) =>
    (group.attributes.GuidancePattern ?? []).map((pattern) => ({
      name: pattern.attributes.GuidancePatternDesignator ?? group.attributes.GuidanceGroupDesignator ?? '',
      lines: linesOf(pattern),
    })))].map(({name, lines: all}) => ({name, lines: all.filter(([part]) => (part?.length ?? 0) > 1)}));
}

function linesOf({attributes}: GuidancePattern): Parts[] {
  return (attributes.LineString ?? []).map((line): Parts => {
    const points = pointsOf(line);
    const [first] = points;
    if (points.length !== 1 || !first) return [points];
    if (attributes.GuidancePatternRadius) return [circle(first, attributes.GuidancePatternRadius / 1000)];
    const heading = attributes.GuidancePatternHeading;
    return [heading === undefined ? [] : [moved(first, heading + 180, shownHalf), moved(first, heading, shownHalf)]];
  });
}

const circle = (middle: Point, radiusM: number): Point[] =>
  [...Array(73).keys()].map((each) => moved(middle, each * 5, radiusM));

function moved([longitude, latitude]: Point, heading: number, metres: number): Point {
  const radians = (heading * Math.PI) / 180;
  const north = (metres * Math.cos(radians)) / metresOfDegree;
  const east = (metres * Math.sin(radians)) / metresOfDegree / Math.cos((latitude * Math.PI) / 180);
  return [longitude + east, latitude + north];
}
