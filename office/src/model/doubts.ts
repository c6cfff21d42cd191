// The warnings that the page shows before it sends a file.
import {isPrescription, type Answer} from '../map/model';
import {filesByInbox, isForConsoles, type InboxOfProject} from './farm';
import {isUnfinished, sendings} from './sending';

export type Doubt =
  /** The inbox would have two files of this name. */
  | {kind: 'twice'; name: string; inbox: string}
  /** A prescription on its way to guidance lines or job reports. */
  | {kind: 'misplaced'; name: string; project: string}
  | {kind: 'noTaskData'; name: string}
  | {kind: 'notArchive'; name: string};

const prescriptions = 'To Console';

/** `answer` is undefined while the file is read. `earlier` are the names of the files that go with it. */
export function doubtsOf(name: string, targets: readonly InboxOfProject[], answer: Answer | undefined,
    earlier: readonly string[] = []): Doubt[] {
  const doubts: Doubt[] = [];
  const twice = targets.find(({id}) => [...earlier, ...namesIn(id)].includes(name));
  if (twice) doubts.push({kind: 'twice', name, inbox: twice.owner.name});
  const project = targets[0]?.projectName ?? '';
  if (answer && 'reading' in answer) {
    if (project !== prescriptions && isPrescription(answer.reading)) doubts.push({kind: 'misplaced', name, project});
    if (project === prescriptions && !answer.reading.hasTaskData) doubts.push({kind: 'noTaskData', name});
  } else if (answer && (answer.refusal === 'notArchive' || answer.refusal === 'damaged') && mustBeArchive(name, targets[0])) {
    doubts.push({kind: 'notArchive', name});
  }
  return doubts;
}

/** The first of the files that would not be the only one of its name in its inbox. */
export const firstTwice = <Item extends {name: string; container: number}>(list: readonly Item[]): Item | undefined =>
  list.find(({name, container}, index) => namesIn(container).includes(name)
    || list.slice(0, index).some((each) => each.name === name && each.container === container));

/** Consoles unpack the archives among their lines. They take other files of lines as they are. */
const mustBeArchive = (name: string, target: InboxOfProject | undefined): boolean =>
  target?.projectName === prescriptions || (target !== undefined && isForConsoles(target) && /\.zip$/i.test(name));

/** The names of the files that the inbox has or that are on their way to it. */
function namesIn(inbox: number): string[] {
  const onTheirWay = sendings.value.filter((each) => isUnfinished(each) && each.targets.includes(inbox));
  return [...filesByInbox.value.get(inbox) ?? [], ...onTheirWay.map(({file}) => file)].map(({name}) => name);
}
