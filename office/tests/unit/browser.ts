// The objects of a browser that the modules use while they are loaded.
import {vi} from 'vitest';

vi.stubGlobal('navigator', {languages: ['en-GB', 'de']});
vi.stubGlobal('location', {hash: ''});
vi.stubGlobal('addEventListener', () => undefined);
vi.stubGlobal('removeEventListener', () => undefined);
vi.stubGlobal('localStorage', {getItem: () => null});
