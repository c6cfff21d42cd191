// What the modules ask of a browser when they are loaded.
import {vi} from 'vitest';

vi.stubGlobal('navigator', {languages: ['en-GB', 'de']});
vi.stubGlobal('location', {hash: ''});
vi.stubGlobal('addEventListener', () => undefined);
