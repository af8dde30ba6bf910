# Values, readers and archivers as gdb prints them, members in the order of
# enumeration, and what the bundled object monitor lists:
#
#   (gdb) print *root
#   $1 = JObject of size 2 = {["a"] = 0.50, ["b"] = JArray of length 1 = {true}}
#   (gdb) json-live                 objects by the tag they were created under
#   (gdb) json-live settings.cpp    tags with this text in them, and the objects
#
# Memory is read and nothing is called, so that a core file will do. What is
# large or deep is cut: see "help set print elements", "help set print
# max-depth". The debug information of the libraries is needed.
#
# gdb loads the file with an installed libjson.so.1, as far as it may: outside
# of /usr, .gdbinit has to say where
#
#   add-auto-load-scripts-directory PREFIX/share/gdb/auto-load
#   add-auto-load-safe-path PREFIX/share/gdb/auto-load
#
# An installation that was moved, the root of another system and a folder of a
# build take "source FILE".

import collections
import struct

import gdb
import gdb.printing

FOUNDATION = 'vorn::foundation::'
JSON = FOUNDATION + 'json::'
MONITOR = FOUNDATION + 'debug::(anonymous namespace)::'


# Values ----------------------------------------------------------------------

class Text:
    """Something without parts."""

    def __init__(self, text, hint=None):
        self.text = text
        self.hint = hint

    def to_string(self):
        return self.text

    def display_hint(self):
        return self.hint


class Container(Text):
    """Something with parts, which gdb takes as long as it wants more."""

    def __init__(self, text, hint, parts):
        super().__init__(text, hint)
        self.parts = parts

    def children(self):
        return iter(self.parts)


# Fetched at once: what cannot be read ends the container that it is in, and
# not the printing.
def pointed_to(pointer, name=None):
    if name is not None:
        pointer = pointer.cast(gdb.lookup_type(JSON + name).pointer())
    value = pointer.dereference()
    value.fetch_lazy()
    return value


def safe_string(string):
    length = int(string['_M_string_length'])
    return Text(string['_M_dataplus']['_M_p'].lazy_string(length=length),
                'string')


# As its text: without quotes, unlike a string.
def number(value):
    text = value['text_']
    length = int(text['_M_string_length'])
    most = gdb.parameter('print elements') or length
    shown = text['_M_dataplus']['_M_p'].string('latin-1',
                                               length=min(length, most))
    return Text(shown + ('...' if length > most else ''))


def sequence(title, vector):
    first = vector['_M_impl']['_M_start']
    length = int(vector['_M_impl']['_M_finish'] - first)
    elements = ((f'[{index}]', pointed_to(pointed_to(first + index)))
                for index in range(length))
    return Container(f'{title} of length {length}', 'array', elements)


# As its key, whose bytes stand behind it.
def node(value):
    key = (value.address + 1).cast(gdb.lookup_type('char').pointer())
    return Text(key.lazy_string(length=int(value['length_'])), 'string')


def members(title, table, kind):
    size = int(table['count_'])

    def nodes_and_values():
        link = table['head_']
        for index in range(size):
            link = pointed_to(link['next'], 'MemberTable::Node')
            yield f'[{index}].key', link
            yield f'[{index}]', pointed_to(link['value'], kind)

    return Container(f'{title} of size {size}', 'map', nodes_and_values())


def owner(title, name, pointer):
    if not pointer:
        return Text('empty ' + title)
    return Container(title, None, [(name, pointed_to(pointer))])


# What is declared by its base, which is abstract, as what it is.
def dynamic(value):
    kind = value.dynamic_type
    if kind == value.type:
        gdb.lookup_type(JSON + 'MemberTable')  # fails if no class is known
        return Text('<its class is not known>')
    return printers(value.cast(kind))


class Printers(gdb.printing.RegexpCollectionPrettyPrinter):
    """Says what is wrong in the place of what cannot be read."""

    def __call__(self, value):
        try:
            return super().__call__(value)
        except gdb.MemoryError as error:
            return Text(f'<{error}>')
        except gdb.error as error:
            return Text(f'<no debug information of libjson.so.1: {error}>')
        except (ValueError, OverflowError):
            return Text('<not constructed yet, or destroyed>')

    def add(self, pattern, printer):
        self.add_printer(pattern, f'^{pattern}$', printer)


printers = Printers('vorn-json')
printers.add('std::(__cxx11::)?basic_string<char, std::char_traits<char>, '
             + FOUNDATION + 'debug::Allocator<char> ?>', safe_string)
printers.add(JSON + '(JBase|JTypeBase<.*>|ITypedArchiver)', dynamic)
printers.add(FOUNDATION + 'io::IArchiver', dynamic)
printers.add(JSON + 'JNull', lambda value: Text('null'))
printers.add(JSON + 'JBool', lambda value: Text(str(value['value_'])))
printers.add(JSON + 'JNumber', number)
printers.add(JSON + 'JString', lambda value: safe_string(value['text_']))
printers.add(JSON + 'JArray',
             lambda value: sequence('JArray', value['elements_']))
printers.add(JSON + 'MemberTable::Node', node)
printers.add(JSON + 'JObject', lambda value: members(
    'JObject', pointed_to(value['members_'].address, 'MemberTable'), 'JBase'))
printers.add(JSON + 'JsonReader',
             lambda value: owner('JsonReader', 'tree', value['tree_']))
printers.add(JSON + 'JsonArchiver', lambda value: owner(
    'JsonArchiver', 'root', value['private_']['root_']))
printers.add(JSON + 'GenericArchiver', lambda value: printers(
    value['value_']['object_'].dereference()))
printers.add(JSON + 'ArrayArchiver',
             lambda value: sequence('ArrayArchiver', value['elements_']))
printers.add(JSON + 'ObjectArchiver', lambda value: members(
    'ObjectArchiver', value['members_'], 'ITypedArchiver'))
gdb.printing.register_pretty_printer(gdb.current_objfile(), printers, True)


# Live objects ----------------------------------------------------------------

# Also where the program stopped in a function of C, whose names are others.
def monitored(name):
    symbol = gdb.lookup_static_symbol(MONITOR + name)
    if symbol is None:
        raise gdb.GdbError('libdebugs.so.1 is not loaded, or without debug '
                           'information, or of another framework.')
    return symbol.value()


# The numbers of origins, each with the addresses of its objects. An entry of
# the list is a word of 64 bits: an address above 16 bits for the number.
def live_objects():
    order = '<' if 'little' in gdb.execute('show endian', False, True) else '>'
    objects = collections.defaultdict(list)
    parts = monitored('parts')
    first, last = parts.type.range()
    for index in range(first, last + 1):
        entries = int(parts[index]['entries_'])
        size = int(parts[index]['end_']) - entries
        if size == 0:
            continue
        memory = gdb.selected_inferior().read_memory(entries, size)
        for word, in struct.iter_unpack(order + 'Q', memory):
            if word >> 16:
                objects[word & 0xFFFF].append(word >> 16)
    return objects


# The static members of a class are found through any object of it, even none.
def origin(number):
    origins = gdb.lookup_type(MONITOR + 'Origins').pointer()
    origins = gdb.Value(0).cast(origins).dereference()
    block, index = divmod(number, int(origins['kBlock']))
    found = origins['blocks_'][block]['_M_b']['_M_p'][index]
    tag = '{}:{} {}'.format(found['file_copy'].string(), int(found['line']),
                            found['function_copy'].string())
    return tag, int(found['size'])


# Objects of a class without virtual functions cannot tell it.
def shown(address):
    base = gdb.lookup_type(FOUNDATION + 'lang::Interface')
    object_ = gdb.Value(address).cast(base.pointer()).dereference()
    kind = object_.dynamic_type
    if kind == base:
        return ''
    return object_.address.cast(kind.pointer()).dereference().format_string(
        max_depth=1, pretty_structs=False)


class Live(gdb.Command):
    """List the live objects by the tag that they were created under.
Usage: json-live [TEXT]

With a text, only the tags with this text in them, each with its objects."""

    def __init__(self):
        super().__init__('json-live', gdb.COMMAND_DATA)

    def invoke(self, argument, from_tty):
        try:
            self.list(argument)
        except gdb.error as error:
            raise gdb.GdbError(str(error))

    def list(self, text):
        rows = []
        for number, objects in live_objects().items():
            tag, size = origin(number)
            if text in tag:
                rows.append((len(objects) * size, tag, objects))
        rows.sort(key=lambda row: (-row[0], row[1]))
        print('  objects       bytes  created at')
        for size, tag, objects in rows:
            print(f'{len(objects):9} {size:11}  {tag}')
            if text:
                self.list_objects(sorted(objects))
        count = sum(len(row[2]) for row in rows)
        print(f'{count:9} {sum(row[0] for row in rows):11}  total')
        unknown = int(monitored('unknown_releases')['sum_']['_M_i'])
        if unknown:
            print(f'releases of unknown objects: {unknown}')

    def list_objects(self, objects):
        most = gdb.parameter('print elements') or len(objects)
        for address in objects[:most]:
            print(f'    {address:#x} {shown(address)}'.rstrip())
        if len(objects) > most:
            print('    ...')


Live()
