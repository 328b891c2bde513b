# Series 31 with the contact station and no magnetic encoder: 20 characters, letter 5 'E', letter 6 '-'.
model = VKTS31
firmware = VKT31E- V1.02.03.016
serial = S31000002
head_resistance = 2950
panels_printed = 1234
printer_errors = 0
ribbon_code = 47
ribbon_remaining = 300
ribbon_capacity = 500
encoder = no
